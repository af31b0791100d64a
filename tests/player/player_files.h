#pragma once

#include <string>

// Files the player tests hand to the host, in a scratch folder of their own.
namespace player_files {

// The folder that holds the test, tsplay.exe and the driver module.
std::string binaryFolder();
// A new empty folder below the working folder, as an absolute path.
std::string scratchFolder(const std::string& name);
// Writes `bytes` to folder\name and gives the file's path.
std::string write(const std::string& folder, const std::string& name, const std::string& bytes);

}  // namespace player_files

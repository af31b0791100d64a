#pragma once

#include <cstdint>
#include <string>

// Files the player tests hand to the host, in a scratch folder of their own.
namespace player_files {

// The folder that holds the test, tsplay.exe and the driver module.
std::string binaryFolder();
// A new empty folder below the working folder, as an absolute path.
std::string scratchFolder(const std::string& name);
// Writes `text` to folder\name and gives the file's path.
std::string write(const std::string& folder, const std::string& name, const std::string& text);
// The names in `folder`, "." and ".." left out.
int countFiles(const std::string& folder);
// A 24-bit BMP file of one colour, as the driver reads data items from disk.
std::string solidBmp(int width, int height, uint8_t r, uint8_t g, uint8_t b);

}  // namespace player_files

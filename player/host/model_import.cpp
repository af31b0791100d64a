#include "player/host/model_import.h"

#include <windows.h>

#include <cctype>

#include "player/host/child_program.h"

namespace host {

namespace {

constexpr DWORD kImportTimeoutMs = 120000;
constexpr char kToolPrefix[] = "tsimport: ";

std::string programFolder() {
  char path[MAX_PATH];
  const DWORD length = GetModuleFileNameA(nullptr, path, MAX_PATH);
  std::string folder(path, length);
  return folder.substr(0, folder.find_last_of("\\/"));
}

// A name no other run uses: the temporary folder, this process and a count.
std::string temporaryName(const char* extension) {
  static int count = 0;
  char folder[MAX_PATH];
  const DWORD length = GetTempPathA(MAX_PATH, folder);
  return std::string(folder, length) + "tsplay-" + std::to_string(GetCurrentProcessId()) + "-" +
         std::to_string(++count) + extension;
}

}  // namespace

bool isModelFile(const std::string& path) {
  std::string extension = path.substr(path.find_last_of('.') == std::string::npos ? path.size() : path.find_last_of('.'));
  for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return extension == ".gltf" || extension == ".glb" || extension == ".obj";
}

bool importModel(const std::string& path, std::string& scenePath, std::string& error) {
  scenePath = temporaryName(".ts2");
  const ProgramRun run = runProgram("\"" + programFolder() + "\\tsimport.exe\" \"" + path + "\" \"" + scenePath + "\"",
                                    "", temporaryName(".txt"), true, kImportTimeoutMs);
  if (run.started && run.exitCode == 0) return true;
  std::string text = run.errors;
  DeleteFileA(scenePath.c_str());
  if (text.rfind(kToolPrefix, 0) == 0) text.erase(0, sizeof kToolPrefix - 1);
  while (!text.empty() && text.back() == '\n') text.pop_back();
  error = !run.started ? "cannot run tsimport.exe to import '" + path + "'"
                   : text.empty() ? "cannot import the model '" + path + "'" : text;
  return false;
}

}  // namespace host

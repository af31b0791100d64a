#include "player/host/model_import.h"

#include <windows.h>

#include <cctype>
#include <cstdio>

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

std::string readText(const std::string& path) {
  std::string text;
  if (FILE* file = std::fopen(path.c_str(), "rb")) {
    for (int c; (c = std::fgetc(file)) != EOF;)
      if (c != '\r') text += static_cast<char>(c);
    std::fclose(file);
  }
  return text;
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
  const std::string messages = temporaryName(".txt");
  SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
  HANDLE errors = CreateFileA(messages.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
  HANDLE nothing = CreateFileA("NUL", GENERIC_WRITE, 0, &inherit, OPEN_EXISTING, 0, nullptr);
  STARTUPINFOA startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = nothing;  // the summary is the tool's own business
  startup.hStdError = errors;
  std::string command = "\"" + programFolder() + "\\tsimport.exe\" \"" + path + "\" \"" + scenePath + "\"";
  PROCESS_INFORMATION process = {};
  DWORD exitCode = 1;
  const bool started =
      CreateProcessA(nullptr, command.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr, nullptr, &startup, &process);
  if (started) {
    if (WaitForSingleObject(process.hProcess, kImportTimeoutMs) == WAIT_OBJECT_0)
      GetExitCodeProcess(process.hProcess, &exitCode);
    else
      TerminateProcess(process.hProcess, 1);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
  }
  CloseHandle(errors);
  CloseHandle(nothing);
  std::string text = readText(messages);
  DeleteFileA(messages.c_str());
  if (started && exitCode == 0) return true;
  DeleteFileA(scenePath.c_str());
  if (text.rfind(kToolPrefix, 0) == 0) text.erase(0, sizeof kToolPrefix - 1);
  while (!text.empty() && text.back() == '\n') text.pop_back();
  error = !started ? "cannot run tsimport.exe to import '" + path + "'"
                   : text.empty() ? "cannot import the model '" + path + "'" : text;
  return false;
}

}  // namespace host

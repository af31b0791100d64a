#include "player/host/child_program.h"

#include <cstdio>

namespace host {

ProgramRun runProgram(std::string command, const std::string& folder, const std::string& errorsPath, bool quiet,
                      DWORD timeoutMs) {
  ProgramRun run;
  SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
  HANDLE errors = CreateFileA(errorsPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
  HANDLE nothing = quiet ? CreateFileA("NUL", GENERIC_WRITE, 0, &inherit, OPEN_EXISTING, 0, nullptr) : nullptr;
  STARTUPINFOA startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = quiet ? nothing : GetStdHandle(STD_OUTPUT_HANDLE);
  startup.hStdError = errors;
  PROCESS_INFORMATION process = {};
  run.started = CreateProcessA(nullptr, command.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr,
                               folder.empty() ? nullptr : folder.c_str(), &startup, &process);
  if (run.started) {
    if (WaitForSingleObject(process.hProcess, timeoutMs) == WAIT_OBJECT_0)
      GetExitCodeProcess(process.hProcess, &run.exitCode);
    else
      TerminateProcess(process.hProcess, 1);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
  }
  CloseHandle(errors);
  if (nothing) CloseHandle(nothing);
  if (std::FILE* file = std::fopen(errorsPath.c_str(), "rb")) {
    for (int c; (c = std::fgetc(file)) != EOF;)
      if (c != '\r') run.errors += static_cast<char>(c);
    std::fclose(file);
  }
  DeleteFileA(errorsPath.c_str());
  return run;
}

}  // namespace host

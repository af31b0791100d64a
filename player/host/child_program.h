#pragma once

// Another program of ours run to its end: the host runs tsimport.exe, the tests run tsplay.exe.

#include <windows.h>

#include <string>

namespace host {

struct ProgramRun {
  bool started = false;
  DWORD exitCode = 1;   // 1 as well when it did not end within the time given and was ended
  std::string errors;   // its error stream, without carriage returns
};

// Runs the command line in `folder` (empty: ours), its error stream through the file
// `errorsPath`, which is deleted afterwards, and its output stream to nothing when `quiet`.
// Waits at most `timeoutMs`: a program that waits on something nobody answers is ended.
ProgramRun runProgram(std::string command, const std::string& folder, const std::string& errorsPath, bool quiet,
                      DWORD timeoutMs);

}  // namespace host

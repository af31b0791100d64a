#include "player/host/driver_notices.h"

#include <cstdio>

#include "player/host/module_imports.h"

namespace host {
namespace driver_notices {
namespace {

bool boxesShown = false;
std::vector<std::string> debugLines;

// One line: the driver's texts may run over several.
std::string folded(const char* text) {
  std::string line = text ? text : "";
  while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
  for (char& c : line)
    if (c == '\n' || c == '\r') c = ' ';
  return line;
}

int WINAPI messageBox(HWND owner, LPCSTR text, LPCSTR title, UINT style) {
  if (boxesShown) return MessageBoxA(owner, text, title, style);
  std::fprintf(stderr, "tsplay: %s: %s\n", folded(title).c_str(), folded(text).c_str());
  std::fflush(stderr);
  return IDOK;
}

void WINAPI debugOutput(LPCSTR text) {
  debugLines.push_back(folded(text));
  OutputDebugStringA(text);
}

}  // namespace

void attach(HMODULE module) {
  replaceImport(module, "user32.dll", "MessageBoxA", reinterpret_cast<void*>(&messageBox));
  replaceImport(module, "kernel32.dll", "OutputDebugStringA", reinterpret_cast<void*>(&debugOutput));
}

void showBoxes(bool shown) { boxesShown = shown; }

std::vector<std::string> takeDebugOutput() {
  std::vector<std::string> lines;
  lines.swap(debugLines);
  return lines;
}

}  // namespace driver_notices
}  // namespace host

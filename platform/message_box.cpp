#include "platform/message_box.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <cstdio>
#endif

namespace platform {
namespace {

int systemMessageBox(const char* text, const char* title, unsigned int style) {
#ifdef _WIN32
  return MessageBoxA(nullptr, text, title, style);
#else
  // No boxes here: the notice goes to standard error with its title.
  (void)style;
  std::fprintf(stderr, "[%s] %s\n", title, text);
  return 1;
#endif
}

MessageBoxHandler currentHandler = nullptr;

}  // namespace

int messageBox(const char* text, const char* title, unsigned int style) {
  return currentHandler ? currentHandler(text, title, style) : systemMessageBox(text, title, style);
}

MessageBoxHandler setMessageBoxHandler(MessageBoxHandler handler) {
  MessageBoxHandler previous = currentHandler;
  currentHandler = handler;
  return previous;
}

}  // namespace platform

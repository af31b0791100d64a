#pragma once

#include <cstdarg>
#include <cstdio>

#include "io/trace.h"

namespace tsfuzz {

// Formats every message, so that a bad format or argument still shows, and drops it.
class SilentTracer : public trace::Tracer {
 public:
  void box(const char* format, va_list arguments) override { drop(format, arguments); }
  void warn(const char* format, va_list arguments) override { drop(format, arguments); }
  void log(const char* format, va_list arguments) override { drop(format, arguments); }

 private:
  void drop(const char* format, va_list arguments) { std::vsnprintf(text, sizeof text, format, arguments); }
  char text[1024] = {};
};

}  // namespace tsfuzz

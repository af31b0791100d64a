#include "io/trace.h"

#include <cstdio>

#include "platform/message_box.h"

namespace trace {
namespace {
Tracer* globalTracer = nullptr;
}

void TracerDefault::format(const char* fmt, va_list arguments) {
  // Bounded: a long message is cut at the buffer's end instead of overrunning it.
  std::vsnprintf(buffer, sizeof buffer, fmt, arguments);
}

void TracerDefault::box(const char* fmt, va_list arguments) {
  format(fmt, arguments);
  platform::messageBox(buffer, "TracerDefault::Box", platform::kIconExclamation);
}

void TracerDefault::warn(const char* fmt, va_list arguments) {
  format(fmt, arguments);
  platform::messageBox(buffer, "TracerDefault::Warn", platform::kIconInformation);
}

void TracerDefault::log(const char*, va_list) {}

std::string text(const char* format, ...) {
  char buffer[512];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(buffer, sizeof buffer, format, arguments);
  va_end(arguments);
  return buffer;
}

Tracer* tracer() {
  if (!globalTracer) globalTracer = new TracerDefault;
  return globalTracer;
}

Tracer* setTracer(Tracer* replacement) {
  Tracer* previous = globalTracer;
  globalTracer = replacement;
  return previous;
}

}  // namespace trace

void traceBox(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  trace::tracer()->box(format, arguments);
  va_end(arguments);
}

void traceBoxIf(bool condition, const char* format, ...) {
  if (!condition) return;
  va_list arguments;
  va_start(arguments, format);
  trace::tracer()->box(format, arguments);
  va_end(arguments);
}

void traceWarnIf(bool condition, const char* format, ...) {
  if (!condition) return;
  va_list arguments;
  va_start(arguments, format);
  trace::tracer()->warn(format, arguments);
  va_end(arguments);
}

void traceLog(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  trace::tracer()->log(format, arguments);
  va_end(arguments);
}

#pragma once

#include <cstdarg>
#include <string>

// The one way messages leave the system: error boxes, warnings and log lines with
// printf-style formats. The default tracer shows boxes and drops log lines.
namespace trace {

class Tracer {
 public:
  virtual void box(const char* format, va_list arguments) = 0;
  virtual void warn(const char* format, va_list arguments) = 0;
  virtual void log(const char* format, va_list arguments) = 0;
  virtual ~Tracer() = default;
};

class TracerDefault : public Tracer {
 public:
  static constexpr unsigned int kBufferSize = 8196;

  void box(const char* format, va_list arguments) override;
  void warn(const char* format, va_list arguments) override;
  void log(const char* format, va_list arguments) override;

 private:
  void format(const char* format, va_list arguments);

  char buffer[kBufferSize] = {};
};

// The global tracer, made on first use. It has no owner: it lives until the process ends.
Tracer* tracer();

// Replaces the global tracer (for a host or a test); gives the previous one, which
// stays the caller's. Null makes the next message create a default tracer again.
Tracer* setTracer(Tracer* replacement);

}  // namespace trace

#if defined(__MINGW32__) && !defined(__clang__)
// The C++ runtime of mingw formats as C99 does (%zu and all); plain "printf" would check
// against the system's older formats.
#define TS_PRINTF_FORMAT(fmt, args) __attribute__((format(gnu_printf, fmt, args)))
#elif defined(__GNUC__) || defined(__clang__)
#define TS_PRINTF_FORMAT(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define TS_PRINTF_FORMAT(fmt, args)
#endif

namespace trace {
// A message as a string, for the messages that are built before they are shown.
std::string text(const char* format, ...) TS_PRINTF_FORMAT(1, 2);
}  // namespace trace

void traceBox(const char* format, ...) TS_PRINTF_FORMAT(1, 2);
void traceBoxIf(bool condition, const char* format, ...) TS_PRINTF_FORMAT(2, 3);
void traceWarnIf(bool condition, const char* format, ...) TS_PRINTF_FORMAT(2, 3);
void traceLog(const char* format, ...) TS_PRINTF_FORMAT(1, 2);

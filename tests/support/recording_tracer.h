#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "io/trace.h"
#include "platform/message_box.h"

namespace tstest {

// Installs itself as the global tracer for its lifetime and keeps every message,
// formatted, so tests can assert on what a user would have been shown.
class RecordingTracer : public trace::Tracer {
 public:
  struct Message {
    char kind;  // 'b' box, 'w' warn, 'l' log
    std::string text;
  };

  RecordingTracer() : previous(trace::setTracer(this)) {}
  ~RecordingTracer() override { trace::setTracer(previous); }
  RecordingTracer(const RecordingTracer&) = delete;
  RecordingTracer& operator=(const RecordingTracer&) = delete;

  void box(const char* format, va_list arguments) override { record('b', format, arguments); }
  void warn(const char* format, va_list arguments) override { record('w', format, arguments); }
  void log(const char* format, va_list arguments) override { record('l', format, arguments); }

  std::vector<Message> messages;

  size_t count(char kind) const { return texts(kind).size(); }
  std::vector<std::string> texts(char kind) const {
    std::vector<std::string> out;
    for (const Message& m : messages)
      if (m.kind == kind) out.push_back(m.text);
    return out;
  }

 private:
  void record(char kind, const char* format, va_list arguments) {
    char text[8196];
    std::vsnprintf(text, sizeof text, format, arguments);
    messages.push_back({kind, text});
  }

  trace::Tracer* previous;
};

// Redirects the system's message boxes for its lifetime and keeps what they would show.
class RecordingMessageBoxes {
 public:
  struct Box {
    std::string text, title;
    unsigned int style;
  };
  RecordingMessageBoxes() : previous(platform::setMessageBoxHandler(&handle)) { boxes().clear(); }
  ~RecordingMessageBoxes() { platform::setMessageBoxHandler(previous); }
  RecordingMessageBoxes(const RecordingMessageBoxes&) = delete;
  RecordingMessageBoxes& operator=(const RecordingMessageBoxes&) = delete;

  static std::vector<Box>& boxes() {
    static std::vector<Box> all;
    return all;
  }

 private:
  static int handle(const char* text, const char* title, unsigned int style) {
    boxes().push_back({text, title, style});
    return 1;
  }
  platform::MessageBoxHandler previous;
};

}  // namespace tstest

#pragma once

#include <windows.h>

#include <string>

#include "player/host/frame_capture.h"

namespace host {

// Frames one after another as raw pixels, each row top first and each pixel the bytes B, G,
// R, A, into a file or a named pipe that another program reads as they come. WriteFile
// passes the bytes as they are: no C runtime's text mode stands between.
class FrameStream {
 public:
  explicit FrameStream(const std::string& path);
  ~FrameStream();
  FrameStream(const FrameStream&) = delete;
  FrameStream& operator=(const FrameStream&) = delete;

  bool isOpen() const { return file != INVALID_HANDLE_VALUE; }
  // False when the reader has gone or the file can't take the bytes.
  bool write(const Frame& frame);

 private:
  HANDLE file;
};

}  // namespace host

#include "player/host/frame_stream.h"

namespace host {

FrameStream::FrameStream(const std::string& path)
    : file(CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)) {}

FrameStream::~FrameStream() {
  if (isOpen()) CloseHandle(file);
}

bool FrameStream::write(const Frame& frame) {
  const char* bytes = reinterpret_cast<const char*>(frame.pixels.data());
  size_t left = frame.pixels.size() * sizeof frame.pixels[0];
  // A pipe may take less than asked at a time.
  while (left > 0) {
    DWORD written = 0;
    const DWORD chunk = left < MAXDWORD ? static_cast<DWORD>(left) : MAXDWORD;
    if (!WriteFile(file, bytes, chunk, &written, nullptr) || written == 0) return false;
    bytes += written;
    left -= written;
  }
  return true;
}

}  // namespace host

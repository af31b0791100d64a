#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "player/host/frame_capture.h"

namespace host {

// Writes frames on worker threads, so that the thread that draws only reads them back: as PNG
// files, each whole or not at all, or through another way of saving. Frames are taken up in
// the order given, so one worker saves them in that order; the frame buffers are reused:
// there are one more than workers, and next() waits while all are being written.
class FrameWriter {
 public:
  // Saves a frame to a path; false when it could not.
  using Save = std::function<bool(const Frame&, const std::string&)>;
  explicit FrameWriter(unsigned int workers, Save save = saveFrame);
  // Writes what is queued, then ends the workers.
  ~FrameWriter();
  FrameWriter(const FrameWriter&) = delete;
  FrameWriter& operator=(const FrameWriter&) = delete;

  // A free buffer for the next frame.
  Frame& next();
  // Queues the buffer that next() gave last, to be written to `path`.
  void write(const std::string& path);
  // Waits until everything queued is written. False when a frame could not be written,
  // with the path of the first that failed; frames queued after it are not written.
  bool finish(std::string& failedPath);
  // Whether a frame has failed so far; the caller may stop early.
  bool failed();

 private:
  struct Job {
    Frame frame;
    std::string path;
  };
  void work();

  const Save save;
  std::vector<std::unique_ptr<Job>> jobs;
  std::vector<Job*> free;
  std::deque<Job*> queued;
  Job* current = nullptr;
  unsigned int busy = 0;  // jobs a worker holds
  bool stopping = false;
  std::string firstFailure;
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<std::thread> workers;  // last: they start once everything above is ready
};

}  // namespace host

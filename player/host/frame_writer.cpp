#include "player/host/frame_writer.h"

#include <algorithm>
#include <utility>

namespace host {

FrameWriter::FrameWriter(unsigned int workerCount, Save save_) : save(std::move(save_)) {
  workerCount = std::max(workerCount, 1u);
  for (unsigned int i = 0; i <= workerCount; ++i) {
    jobs.push_back(std::make_unique<Job>());
    free.push_back(jobs.back().get());
  }
  for (unsigned int i = 0; i < workerCount; ++i) workers.emplace_back([this] { work(); });
}

FrameWriter::~FrameWriter() {
  {
    std::lock_guard<std::mutex> lock(mutex);
    stopping = true;
  }
  changed.notify_all();
  for (std::thread& worker : workers) worker.join();
}

Frame& FrameWriter::next() {
  std::unique_lock<std::mutex> lock(mutex);
  changed.wait(lock, [this] { return !free.empty(); });
  current = free.back();
  free.pop_back();
  return current->frame;
}

void FrameWriter::write(const std::string& path) {
  {
    std::lock_guard<std::mutex> lock(mutex);
    current->path = path;
    queued.push_back(current);
    current = nullptr;
  }
  changed.notify_all();
}

bool FrameWriter::finish(std::string& failedPath) {
  std::unique_lock<std::mutex> lock(mutex);
  changed.wait(lock, [this] { return queued.empty() && busy == 0; });
  failedPath = firstFailure;
  return firstFailure.empty();
}

bool FrameWriter::failed() {
  std::lock_guard<std::mutex> lock(mutex);
  return !firstFailure.empty();
}

void FrameWriter::work() {
  std::unique_lock<std::mutex> lock(mutex);
  for (;;) {
    changed.wait(lock, [this] { return stopping || !queued.empty(); });
    if (queued.empty()) return;
    Job* job = queued.front();
    queued.pop_front();
    ++busy;
    // After a failure the run stops: later frames are dropped, not written past a gap.
    const bool skip = !firstFailure.empty();
    lock.unlock();
    const bool written = skip || save(job->frame, job->path);
    lock.lock();
    if (!written && firstFailure.empty()) firstFailure = job->path;
    --busy;
    free.push_back(job);
    changed.notify_all();
  }
}

}  // namespace host

#pragma once

#include <chrono>
#include <cstdio>

// A one-line progress bar on a terminal stream, redrawn in place, with the time left
// estimated from the pace so far.
class Progress {
 public:
  Progress(FILE* out_, const char* label_, long total_)
      : out(out_), label(label_), total(total_), started(std::chrono::steady_clock::now()) {}
  void show(long done);
  void finish();

 private:
  FILE* out;
  const char* label;
  long total;
  std::chrono::steady_clock::time_point started;
  int lastPercent = -1;
};

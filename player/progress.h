#pragma once

#include <cstdio>

// A one-line progress bar on a terminal stream, redrawn in place.
class Progress {
 public:
  Progress(FILE* out_, const char* label_, long total_) : out(out_), label(label_), total(total_) {}
  void show(long done);
  void finish();

 private:
  FILE* out;
  const char* label;
  long total;
  int lastPercent = -1;
};

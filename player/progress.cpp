#include "player/progress.h"

void Progress::show(long done) {
  const int percent = total > 0 ? static_cast<int>(done * 100 / total) : 100;
  if (percent == lastPercent) return;
  lastPercent = percent;
  const int width = 40, filled = percent * width / 100;
  std::fprintf(out, "\r%s [", label);
  for (int i = 0; i < width; ++i) std::fputc(i < filled ? '#' : '.', out);
  std::fprintf(out, "] %3d%% (%ld/%ld)", percent, done, total);
  std::fflush(out);
}

void Progress::finish() {
  show(total);
  std::fputc('\n', out);
  std::fflush(out);
}

#include "player/progress.h"

void Progress::show(long done) {
  const int percent = total > 0 ? static_cast<int>(done * 100 / total) : 100;
  if (percent == lastPercent) return;
  lastPercent = percent;
  const int width = 40, filled = percent * width / 100;
  std::fprintf(out, "\r%s [", label);
  for (int i = 0; i < width; ++i) std::fputc(i < filled ? '#' : '.', out);
  std::fprintf(out, "] %3d%% (%ld/%ld)", percent, done, total);
  if (done > 0 && done < total) {
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - started;
    const double perFrame = elapsed.count() / static_cast<double>(done);
    const long left = static_cast<long>(perFrame * static_cast<double>(total - done) + 0.5);
    std::fprintf(out, " %3ld:%02ld left", left / 60, left % 60);
  } else {
    std::fprintf(out, "%12s", "");  // as wide as an estimate, which it wipes
  }
  std::fflush(out);
}

void Progress::finish() {
  show(total);
  std::fputc('\n', out);
  std::fflush(out);
}

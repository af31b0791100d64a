#include "player/contact_sheet.h"

#include <algorithm>

#include "platform/png_write.h"

namespace {

constexpr uint32_t kBackground = 0xff202020;
constexpr uint32_t kFrameMark = 0xffffc040;

}  // namespace

ContactSheet::ContactSheet(int from, int to, int columnCount, int rowCount, int cellW, int cellH)
    : first(from),
      last(to),
      columns(std::max(columnCount, 1)),
      rows(std::max(rowCount, 1)),
      cellWidth(std::max(cellW, 1)),
      cellHeight(std::max(cellH, 1)) {
  const int frameCount = std::max(to - from + 1, 0);
  const int cells = std::min(columns * rows, frameCount);
  for (int cell = 0; cell < cells; ++cell) {
    // Evenly spread over the run, first and last frame included.
    const int64_t offset = cells == 1 ? 0 : static_cast<int64_t>(cell) * (frameCount - 1) / (cells - 1);
    chosen.push_back(from + static_cast<int>(offset));
  }
  if (cells > 0) rows = (cells + columns - 1) / columns;
  sheet.assign(static_cast<size_t>(width()) * static_cast<size_t>(height()), kBackground);
}

bool ContactSheet::wants(int frame) const { return std::binary_search(chosen.begin(), chosen.end(), frame); }

void ContactSheet::add(int frame, const uint32_t* pixels, int frameWidth, int frameHeight) {
  const auto found = std::lower_bound(chosen.begin(), chosen.end(), frame);
  if (found == chosen.end() || *found != frame || frameWidth <= 0 || frameHeight <= 0) return;
  const int cell = static_cast<int>(found - chosen.begin());
  const int left = kBorder + (cell % columns) * (cellWidth + kBorder);
  const int top = kBorder + (cell / columns) * (cellHeight + kBorder);
  for (int y = 0; y < cellHeight; ++y) {
    const int y0 = y * frameHeight / cellHeight, y1 = std::max((y + 1) * frameHeight / cellHeight, y0 + 1);
    for (int x = 0; x < cellWidth; ++x) {
      const int x0 = x * frameWidth / cellWidth, x1 = std::max((x + 1) * frameWidth / cellWidth, x0 + 1);
      uint64_t sum[3] = {0, 0, 0};
      for (int sy = y0; sy < y1; ++sy)
        for (int sx = x0; sx < x1; ++sx) {
          const uint32_t p = pixels[static_cast<size_t>(sy) * static_cast<size_t>(frameWidth) + sx];
          sum[0] += (p >> 16) & 0xff;
          sum[1] += (p >> 8) & 0xff;
          sum[2] += p & 0xff;
        }
      const uint64_t n = static_cast<uint64_t>(y1 - y0) * static_cast<uint64_t>(x1 - x0);
      const auto channel = [&](int i) { return static_cast<uint32_t>((sum[i] + n / 2) / n); };
      sheet[static_cast<size_t>(top + y) * static_cast<size_t>(width()) + static_cast<size_t>(left + x)] =
          0xff000000u | (channel(0) << 16) | (channel(1) << 8) | channel(2);
    }
  }
}

void ContactSheet::addSoundtrack(const soundtrack::Outline& outline, double firstTime, double fps) {
  strip = true;
  sheet.resize(static_cast<size_t>(width()) * static_cast<size_t>(height()), kBackground);
  const int stripWidth = width() - 2 * kBorder, top = gridHeight();
  uint32_t* origin = &sheet[static_cast<size_t>(top) * static_cast<size_t>(width()) + kBorder];
  const double from = firstTime + first / fps, to = firstTime + (last + 1) / fps;
  soundtrack::draw(outline, from, to, origin, stripWidth, kStripHeight, width());
  for (int frame : chosen) {
    const int x = static_cast<int>((firstTime + frame / fps - from) / (to - from) * stripWidth);
    for (int y = 0; y < kStripHeight; ++y) origin[static_cast<size_t>(y) * static_cast<size_t>(width()) + x] = kFrameMark;
  }
}

bool ContactSheet::write(const std::string& path) const {
  return platform::writePng(path, width(), height(), sheet.data(), width() * 4);
}

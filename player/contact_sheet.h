#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "player/soundtrack.h"

// One picture of a whole run: chosen frames scaled down into a grid, left to right and top
// to bottom, with a thin dark border around each cell.
class ContactSheet {
 public:
  // The sheet of a run of frames from..to (inclusive): up to columns x rows cells, the
  // frames spread evenly with the first and the last included.
  ContactSheet(int from, int to, int columns, int rows, int cellWidth, int cellHeight);

  // Whether frame number `frame` has a cell.
  bool wants(int frame) const;
  // Scales a frame of 0xAARRGGBB pixels (rows of `width`) into the frame's cell by averaging
  // the source pixels each cell pixel covers. Frames without a cell are ignored.
  void add(int frame, const uint32_t* pixels, int width, int height);
  // A strip under the grid: the soundtrack's outline over the run, whose frame i lies at
  // firstTime + i / fps, with each cell's frame time marked across it.
  void addSoundtrack(const soundtrack::Outline& outline, double firstTime, double fps);
  // As a PNG; false (and nothing written) when the file can't be written.
  bool write(const std::string& path) const;

  const std::vector<int>& frames() const { return chosen; }
  int width() const { return columns * (cellWidth + kBorder) + kBorder; }
  int height() const { return gridHeight() + (strip ? kStripHeight + kBorder : 0); }
  uint32_t pixel(int x, int y) const { return sheet[static_cast<size_t>(y) * static_cast<size_t>(width()) + x]; }

  static constexpr int kBorder = 4;
  static constexpr int kStripHeight = 64;

 private:
  int gridHeight() const { return rows * (cellHeight + kBorder) + kBorder; }

  int first, last;  // the run's frames
  int columns, rows, cellWidth, cellHeight;
  bool strip = false;
  std::vector<int> chosen;  // frame number of each cell, ascending
  std::vector<uint32_t> sheet;
};

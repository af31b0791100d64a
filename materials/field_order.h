#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ts3d {

// A state block lists its fields once, in the order of its file body. The device is sent a
// few of them earlier or later than that; each row says how many places it moves, and
// these give the rows in the order sent.

// Whether the moves put every row in a place of its own within the table.
template <class Row, size_t N>
constexpr bool movesArePermutation(const Row (&rows)[N], int8_t Row::*move) {
  std::array<bool, N> taken{};
  for (size_t i = 0; i < N; ++i) {
    const ptrdiff_t place = static_cast<ptrdiff_t>(i) + rows[i].*move;
    if (place < 0 || place >= static_cast<ptrdiff_t>(N) || taken[static_cast<size_t>(place)]) return false;
    taken[static_cast<size_t>(place)] = true;
  }
  return true;
}

// Row indices in the order sent; meaningful only when movesArePermutation holds.
template <class Row, size_t N>
constexpr std::array<uint8_t, N> sendOrder(const Row (&rows)[N], int8_t Row::*move) {
  static_assert(N <= UINT8_MAX, "row indices are bytes");
  std::array<uint8_t, N> order{};
  for (size_t i = 0; i < N; ++i) order[static_cast<size_t>(static_cast<ptrdiff_t>(i) + rows[i].*move)] =
      static_cast<uint8_t>(i);
  return order;
}

}  // namespace ts3d

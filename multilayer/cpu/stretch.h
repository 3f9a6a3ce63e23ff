// A stretch of LEDs in matrices, the unit of work of a kernel.
#pragma once

#include <algorithm>
#include <cstddef>

namespace multilayer {

// LEDs `begin` .. `begin` + `count` of a row.
struct Stretch {
  int row;
  size_t begin;
  size_t count;
};

// Calls `visit` with stretches of at most `longest` LEDs that cover `rows` x `cols`. `continuous`: in
// every matrix that is read, rows follow each other without a gap, and count as one.
template <class Visit>
void ForEachStretch(int rows, int cols, bool continuous, size_t longest, const Visit& visit) {
  const auto whole = static_cast<size_t>(rows) * static_cast<size_t>(cols);
  const size_t length = continuous ? whole : static_cast<size_t>(cols);
  for (int row = 0; row < (continuous ? 1 : rows); ++row) {
    for (size_t begin = 0; begin < length; begin += std::min(longest, length - begin)) {
      visit(Stretch{row, begin, std::min(longest, length - begin)});
    }
  }
}

}  // namespace multilayer

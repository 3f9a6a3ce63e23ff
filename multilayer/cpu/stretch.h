// A stretch of LEDs in matrices, the unit of work of a kernel.
#pragma once

#include <cstddef>

namespace multilayer {

// LEDs `begin` .. `begin` + `count` of a row; `next` more follow in memory and come next.
struct Stretch {
  int row;
  size_t begin;
  size_t count;
  size_t next;
};

}  // namespace multilayer

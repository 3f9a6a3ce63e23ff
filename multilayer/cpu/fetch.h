// For kernel sources: asking the caches for the next tile while this one is worked on. Many short
// streams are too much for the processor's own foresight, which ends at a page (Norm: 11 ns per LED and
// colour without, 6 with).
#pragma once

#include <cstddef>

namespace multilayer {

constexpr size_t kCacheLine = 64;  // bytes

template <class Element>
[[gnu::always_inline]] inline void Fetch(const Element* first, size_t count) {
  for (size_t i = 0; i < count; i += kCacheLine / sizeof(Element)) {
    __builtin_prefetch(first + i, 0);
  }
}

template <class Element>
[[gnu::always_inline]] inline void FetchToWrite(Element* first, size_t count) {
  for (size_t i = 0; i < count; i += kCacheLine / sizeof(Element)) {
    __builtin_prefetch(first + i, 1);
  }
}

}  // namespace multilayer

// Tiles of LEDs through all layers. Every loop over LEDs below is a plain loop over neighbours that
// the compiler vectorises, in a function of its own so that the compiler keeps the promise that
// nothing overlaps.
#include "multilayer/multi_layer/norm_kernel.h"

#include "multilayer/cpu/fetch.h"
#include "multilayer/cpu/kernel_target.h"

namespace multilayer {
namespace {

constexpr uint32_t kAllBits = ~uint32_t{0};
constexpr uint32_t kInfinityBits = 0x7F800000;

// The length of all tiles but a last one, known to the compiler, which unrolls the loops over it.
struct Whole {
  constexpr operator size_t() const { return kNormTile; }
};

// The current tile.
template <class Count>
struct Tile {
  size_t begin;
  Count count;
  size_t next;   // LEDs of the tile that follows
  bool orderly;  // all corrected LEDs have finite measurements that rise from layer to layer
  alignas(64) uint8_t state[kNormTile];  // of all layers together
  alignas(64) uint32_t keep[kNormTile];  // all bits set: the LED is corrected
  // Of one target: the segment it falls on, and whether there is one.
  alignas(64) uint32_t found[kNormTile];
  alignas(64) float slope[kNormTile];
  alignas(64) float intercept[kNormTile];
};

template <class Count>
[[gnu::noinline]] void AddState(const uint8_t* __restrict state, uint8_t* __restrict all,
                                Count count) {
  for (size_t i = 0; i < count; ++i) {
    all[i] |= state[i];
  }
}

template <class Count>
[[gnu::noinline]] void KeepAlive(const uint8_t* __restrict state, uint32_t* __restrict keep,
                                 Count count) {
  for (size_t i = 0; i < count; ++i) {
    keep[i] = (state[i] & 1) != 0 ? 0 : kAllBits;
  }
}

// A slope that is not above 0 ends an LED's correction, but a NaN does not.
template <bool by_product, class Count>
[[gnu::noinline]] void BuildFirst(const float* __restrict m, Divisor step, float* __restrict slope,
                                  float* __restrict intercept, uint32_t* __restrict keep,
                                  Count count) {
  for (size_t i = 0; i < count; ++i) {
    slope[i] = static_cast<float>(Divide<by_product>(static_cast<double>(m[i]), step));
    intercept[i] = 0.0F;
    keep[i] = slope[i] <= 0.0F ? 0 : keep[i];
  }
}

template <bool by_product, class Count>
[[gnu::noinline]] void BuildNext(const float* __restrict m, const float* __restrict below,
                                 double drive, Divisor step, float* __restrict slope,
                                 float* __restrict intercept, uint32_t* __restrict keep,
                                 Count count) {
  for (size_t i = 0; i < count; ++i) {
    const double exact = Divide<by_product>(static_cast<double>(m[i] - below[i]), step);
    slope[i] = static_cast<float>(exact);
    intercept[i] = static_cast<float>(static_cast<double>(m[i]) - exact * drive);
    keep[i] = slope[i] <= 0.0F ? 0 : keep[i];
  }
}

template <class Count>
[[gnu::noinline]] void Interleave(const float* __restrict slope, const float* __restrict intercept,
                                  float* __restrict out, Count count) {
  for (size_t i = 0; i < count; ++i) {
    out[2 * i] = slope[i];
    out[2 * i + 1] = intercept[i];
  }
}

template <bool by_product, class Count>
void BuildLayer(const NormWork& work, Tile<Count>& tile, size_t layer) {
  const NormCapture& capture = work.captures[layer];
  const float* m = work.chroma[layer] + tile.begin;
  float* slope = work.slope + layer * kNormTile;
  float* intercept = work.intercept + layer * kNormTile;
  if (layer == 0) {
    BuildFirst<by_product>(m, capture.step, slope, intercept, tile.keep, tile.count);
  } else {
    BuildNext<by_product>(m, work.chroma[layer - 1] + tile.begin, capture.drive, capture.step,
                          slope, intercept, tile.keep, tile.count);
  }
  Fetch(m + tile.count, tile.next);
  Fetch(work.state[layer] + tile.begin + tile.count, tile.next);
  if (work.segments != nullptr) {
    Interleave(slope, intercept, work.segments[layer] + 2 * tile.begin, tile.count);
  }
}

template <class Count>
void BuildSegments(const NormWork& work, Tile<Count>& tile) {
  __builtin_memset(tile.state, 0, tile.count);
  for (size_t layer = 0; layer < work.capture_count; ++layer) {
    AddState(work.state[layer] + tile.begin, tile.state, tile.count);
  }
  KeepAlive(tile.state, tile.keep, tile.count);
  for (size_t layer = 0; layer < work.capture_count; ++layer) {
    if (kHasFma && work.captures[layer].step.by_product) {
      BuildLayer<kHasFma>(work, tile, layer);
    } else {
      BuildLayer<false>(work, tile, layer);
    }
  }
}

struct BitRange {
  uint32_t lowest = kAllBits;
  uint32_t highest = 0;
};

// As bits: floats from +0 to infinity are ordered as their bits, and everything else lies above.
template <class Count>
[[gnu::noinline]] BitRange RangeOf(const float* __restrict m, const uint32_t* __restrict keep,
                                   Count count) {
  BitRange range;
  for (size_t i = 0; i < count; ++i) {
    const auto bits = __builtin_bit_cast(uint32_t, m[i]);
    const uint32_t low = bits | ~keep[i];
    const uint32_t high = bits & keep[i];
    range.lowest = low < range.lowest ? low : range.lowest;
    range.highest = high > range.highest ? high : range.highest;
  }
  return range;
}

// Of the LEDs that are corrected.
template <class Count>
void FindRanges(const NormWork& work, Tile<Count>& tile) {
  tile.orderly = work.ascending;
  for (size_t layer = 0; layer < work.capture_count; ++layer) {
    const BitRange bits = RangeOf(work.chroma[layer] + tile.begin, tile.keep, tile.count);
    tile.orderly = tile.orderly && bits.highest < kInfinityBits;
    work.range[layer] = {__builtin_bit_cast(float, bits.lowest),
                         __builtin_bit_cast(float, bits.highest)};
  }
}

// LEDs that reach the target on a layer take its segment instead of one above it.
template <class Count>
[[gnu::noinline]] void Lay(const float* __restrict m, float threshold,
                           const float* __restrict slope, const float* __restrict intercept,
                           float* __restrict chosen_slope, float* __restrict chosen_intercept,
                           Count count) {
  for (size_t i = 0; i < count; ++i) {
    const bool here = m[i] >= threshold;
    chosen_slope[i] = here ? slope[i] : chosen_slope[i];
    chosen_intercept[i] = here ? intercept[i] : chosen_intercept[i];
  }
}

// LED by LED as it is defined, for tiles with a NaN or an infinity and for captures out of order.
template <class Count>
void ChooseByLed(const NormWork& work, Tile<Count>& tile, float threshold) {
  const size_t last = work.capture_count - 1;
  for (size_t i = 0; i < tile.count; ++i) {
    size_t j = last;
    if (!(work.chroma[last][tile.begin + i] < threshold)) {
      j = 0;
      while (j <= last && !(work.chroma[j][tile.begin + i] >= threshold)) {
        ++j;
      }
    }
    tile.found[i] = j <= last ? tile.keep[i] : 0;
    const size_t chosen = j <= last ? j : last;
    tile.slope[i] = work.slope[chosen * kNormTile + i];
    tile.intercept[i] = work.intercept[chosen * kNormTile + i];
  }
}

template <bool by_product, class Count>
[[gnu::noinline]] void SolveTarget(const float* __restrict slope, const float* __restrict intercept,
                                   const uint32_t* __restrict found, double luminance,
                                   double gray_max, Divisor position, float* __restrict out,
                                   Count count) {
  for (size_t i = 0; i < count; ++i) {
    const double drive =
        (luminance - static_cast<double>(intercept[i])) / static_cast<double>(slope[i]);
    const auto coef = static_cast<float>(Divide<by_product>(drive * gray_max, position));
    out[i] = found[i] != 0 ? coef : 1.0F;
  }
}

// The segment of each LED of the tile, and whether there is one.
struct Choice {
  const float* slope;
  const float* intercept;
  const uint32_t* found;
};

template <class Count>
Choice ChooseSegments(const NormWork& work, Tile<Count>& tile, float threshold) {
  if (!tile.orderly || threshold != threshold) {
    ChooseByLed(work, tile, threshold);
    return {tile.slope, tile.intercept, tile.found};
  }
  // Layers on which no LED reaches the target come before `first`; all have reached it on `end`.
  const size_t last = work.capture_count - 1;
  size_t first = 0;
  while (first < last && work.range[first].highest < threshold) {
    ++first;
  }
  size_t end = first;
  while (end < last && !(work.range[end].lowest >= threshold)) {
    ++end;
  }
  const float* slope = work.slope + end * kNormTile;
  const float* intercept = work.intercept + end * kNormTile;
  if (first == end) {
    return {slope, intercept, tile.keep};
  }
  __builtin_memcpy(tile.slope, slope, tile.count * sizeof(float));
  __builtin_memcpy(tile.intercept, intercept, tile.count * sizeof(float));
  for (size_t j = end; j-- > first;) {
    Lay(work.chroma[j] + tile.begin, threshold, work.slope + j * kNormTile,
        work.intercept + j * kNormTile, tile.slope, tile.intercept, tile.count);
  }
  return {tile.slope, tile.intercept, tile.keep};
}

template <bool by_product, class Count>
void SolveLayer(const NormWork& work, Tile<Count>& tile, size_t layer) {
  const NormTarget& target = work.targets[layer];
  const Choice choice = ChooseSegments(work, tile, target.threshold);
  float* out = work.coef[layer] + tile.begin;
  SolveTarget<by_product>(choice.slope, choice.intercept, choice.found, target.luminance,
                          work.gray_max, target.position, out, tile.count);
  FetchToWrite(out + tile.count, tile.next);
}

template <class Count>
void SolveTile(const NormWork& work, Tile<Count>& tile) {
  BuildSegments(work, tile);
  FindRanges(work, tile);
  for (size_t layer = 0; layer < work.target_count; ++layer) {
    if (kHasFma && work.targets[layer].position.by_product) {
      SolveLayer<kHasFma>(work, tile, layer);
    } else {
      SolveLayer<false>(work, tile, layer);
    }
  }
}

}  // namespace

template <>
InstructionSet SolveNorm<kKernelTarget>(const NormWork& work) {
  size_t begin = 0;
  for (Tile<Whole> tile; work.count - begin >= kNormTile; begin += kNormTile) {
    tile.begin = begin;
    const size_t left = work.count - begin - kNormTile;
    tile.next = left < kNormTile ? left : kNormTile;
    SolveTile(work, tile);
  }
  if (begin < work.count) {
    Tile<size_t> tile;
    tile.begin = begin;
    tile.count = work.count - begin;
    tile.next = 0;
    SolveTile(work, tile);
  }
  return kCompiledFor;
}

}  // namespace multilayer

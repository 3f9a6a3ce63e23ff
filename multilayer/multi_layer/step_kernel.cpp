// Blocks of LEDs go through all layers together: their values stay in the first-level cache, and
// each layer is a stream of its own that the processor sees coming. Every loop over LEDs is a plain
// loop over neighbours that the compiler vectorises.
#include "multilayer/multi_layer/step_kernel.h"

#include "multilayer/cpu/kernel_target.h"

namespace multilayer {
namespace {

constexpr uint8_t kUsable = 2;  // LED_USABLE

// Four lines of the cache from every layer. Longer blocks lose the streams (256: 1.7 times the time),
// shorter ones push each other out of the cache when layers lie a multiple of 4096 bytes apart, as
// large matrices do.
constexpr size_t kBlock = 64;

void Copy(const float* values, float* coef, size_t count) {
  __builtin_memcpy(coef, values, count * sizeof(float));
}

[[gnu::always_inline]] inline void FindFactors(const Refinement& refinement, size_t begin,
                                               size_t count, float* __restrict factors) {
  const double target = refinement.target;
  const float* __restrict const measured = refinement.measured + begin;
  const uint8_t* __restrict const state = refinement.state + begin;
  for (size_t i = 0; i < count; ++i) {
    const auto factor = static_cast<float>(target / static_cast<double>(measured[i]));
    factors[i] = (state[i] & kUsable) != 0 ? factor : 1.0F;
  }
}

template <Fold fold>
[[gnu::always_inline]] inline void FoldBlock(const FoldLayers& to, const float* __restrict values,
                                             size_t begin, size_t count) {
  for (size_t layer = 0; layer < to.layer_count; ++layer) {
    float* const coef = to.layers[layer] + begin;
    MULTILAYER_NO_OVERLAP
    for (size_t i = 0; i < count; ++i) {
      coef[i] = fold == Fold::kSet        ? values[i]
                : fold == Fold::kMultiply ? coef[i] * values[i]
                                          : coef[i] + (values[i] - 1.0F);
    }
  }
  for (size_t layer = 0; layer < to.follower_count; ++layer) {
    Copy(to.top + begin, to.followers[layer] + begin, count);
  }
}

// Blocks of constant length are unrolled.
template <Fold fold, class Values>
[[gnu::always_inline]] inline void FoldAll(const FoldLayers& to, size_t count,
                                           const Values& values) {
  size_t begin = 0;
  for (; count - begin >= kBlock; begin += kBlock) {
    FoldBlock<fold>(to, values(begin, kBlock), begin, kBlock);
  }
  FoldBlock<fold>(to, values(begin, count - begin), begin, count - begin);
}

template <class Values>
[[gnu::always_inline]] inline void FoldBy(const FoldLayers& to, size_t count,
                                          const Values& values) {
  switch (to.fold) {
    case Fold::kSet:
      return FoldAll<Fold::kSet>(to, count, values);
    case Fold::kMultiply:
      return FoldAll<Fold::kMultiply>(to, count, values);
    case Fold::kAdd:
      return FoldAll<Fold::kAdd>(to, count, values);
  }
}

}  // namespace

template <>
void FoldIntoLayers<kKernelTarget>(const FoldLayers& layers, const float* values, size_t count) {
  FoldBy(layers, count, [&](size_t begin, size_t) { return values + begin; });
}

template <>
void RefineLayers<kKernelTarget>(const FoldLayers& layers, const Refinement& refinement,
                                 size_t count) {
  alignas(64) float factors[kBlock];
  FoldBy(layers, count, [&](size_t begin, size_t length) {
    FindFactors(refinement, begin, length, factors);
    return static_cast<const float*>(factors);
  });
}

}  // namespace multilayer

// Plain loops over neighbouring LEDs, which the compiler vectorises.
#include "multilayer/multi_layer/step_kernel.h"

#include "multilayer/cpu/fetch.h"
#include "multilayer/cpu/kernel_target.h"

namespace multilayer {
namespace {

constexpr uint8_t kUsable = 2;  // LED_USABLE

[[gnu::noinline]] void Multiply(const float* __restrict values, float* __restrict coef,
                                size_t count) {
  for (size_t i = 0; i < count; ++i) {
    coef[i] = coef[i] * values[i];
  }
}

[[gnu::noinline]] void Add(const float* __restrict values, float* __restrict coef, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    coef[i] = coef[i] + (values[i] - 1.0F);
  }
}

void Copy(const float* values, float* coef, size_t count) {
  __builtin_memcpy(coef, values, count * sizeof(float));
}

}  // namespace

template <>
void FoldIntoLayers<kKernelTarget>(const FoldWork& work) {
  const auto fold = work.fold == Fold::kSet ? Copy : work.fold == Fold::kMultiply ? Multiply : Add;
  for (size_t layer = 0; layer < work.layer_count; ++layer) {
    fold(work.values, work.layers[layer], work.count);
    FetchToWrite(work.layers[layer] + work.count, work.next);
  }
  for (size_t layer = 0; layer < work.follower_count; ++layer) {
    Copy(work.top, work.followers[layer], work.count);
    FetchToWrite(work.followers[layer] + work.count, work.next);
  }
}

template <>
void FindFactors<kKernelTarget>(const FactorWork& work) {
  const float* __restrict const measured = work.measured;
  const uint8_t* __restrict const state = work.state;
  float* __restrict const factors = work.factors;
  for (size_t i = 0; i < work.count; ++i) {
    const auto factor = static_cast<float>(work.target / static_cast<double>(measured[i]));
    factors[i] = (state[i] & kUsable) != 0 ? factor : 1.0F;
  }
  Fetch(measured + work.count, work.next);
  Fetch(state + work.count, work.next);
}

}  // namespace multilayer

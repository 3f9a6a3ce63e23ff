// The default floor: every byte in once and out once, in loops that do nothing else.
#include "bench/computation.h"

#include <benchmark/benchmark.h>

namespace multilayer::bench {
namespace {

constexpr uint64_t kOnes = 0x3F8000003F800000;  // two floats of 1

// Whole words of a continuous matrix; the few bytes behind the last one do not count.
struct Words {
  explicit Words(const cv::Mat& mat)
      : data(reinterpret_cast<uint64_t*>(mat.data)),
        count(mat.total() * mat.elemSize() / sizeof(uint64_t)) {}
  uint64_t* data;
  size_t count;
};

// With the widest loads and stores that the processor has, so that instructions do not limit them.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
#define MULTILAYER_WIDEST __attribute__((target_clones("default", "avx2", "avx512f")))
#else
#define MULTILAYER_WIDEST
#endif

MULTILAYER_WIDEST uint64_t ReadAll(const cv::Mat& mat) {
  const Words words(mat);
  uint64_t mixed = 0;
  for (size_t i = 0; i < words.count; ++i) {
    mixed ^= words.data[i];
  }
  return mixed;
}

MULTILAYER_WIDEST void UpdateAll(const cv::Mat& mat, uint64_t value) {
  const Words words(mat);
  for (size_t i = 0; i < words.count; ++i) {
    words.data[i] ^= value;
  }
}

MULTILAYER_WIDEST void WriteAll(const cv::Mat& mat, uint64_t value) {
  const Words words(mat);
  for (size_t i = 0; i < words.count; ++i) {
    words.data[i] = value;
  }
}

}  // namespace

uint64_t BytesOf(const Mats& mats) {
  uint64_t bytes = 0;
  for (const cv::Mat& mat : mats) {
    bytes += mat.total() * mat.elemSize();
  }
  return bytes;
}

uint64_t Computation::MovedBytes() {
  const Touched memory = Memory();
  return BytesOf(memory.read) + 2 * BytesOf(memory.updated) + BytesOf(memory.written);
}

void Computation::Floor() {
  const Touched memory = Memory();
  uint64_t mixed = 0;
  for (const cv::Mat& mat : memory.read) {
    mixed ^= ReadAll(mat);
  }
  const uint64_t value = mixed == 1 ? 1 : 0;  // 0, which the compiler cannot know
  for (const cv::Mat& mat : memory.updated) {
    UpdateAll(mat, value);
  }
  Mats made;
  for (const cv::Mat& mat : memory.written) {
    cv::Mat target = mat;
    if (memory.made_anew) {
      target = made.emplace_back(mat.size(), mat.type());
    }
    WriteAll(target, kOnes + value);
  }
  benchmark::ClobberMemory();
}

}  // namespace multilayer::bench

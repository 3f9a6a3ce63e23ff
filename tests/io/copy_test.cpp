// Copies past the caches are copies: every byte, and none beside them.
#include "multilayer/io/copy.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <gmock/gmock.h>

namespace multilayer {
namespace {

constexpr size_t kMargin = 128;
constexpr uint8_t kUntouched = 0xA5;

// No period that is a divisor of a line, a page or several.
std::vector<uint8_t> Pattern(size_t size) {
  std::vector<uint8_t> bytes(size);
  for (size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<uint8_t>(i % 251 + i / 65521);
  }
  return bytes;
}

TEST(Copy, CopiesEveryByteAndNoOther) {
  constexpr size_t kPage = 4096;
  const std::vector<uint8_t> source = Pattern(kPastCaches + 8 * kPage);
  for (const size_t size :
       {size_t{0}, size_t{1}, kPastCaches - 1, kPastCaches, kPastCaches + 1,
        kPastCaches + 4 * kPage - 1, kPastCaches + 4 * kPage + 63, kPastCaches + 7 * kPage}) {
    for (const size_t to : {0U, 1U, 63U, 64U}) {
      for (const size_t from : {0U, 1U, 16U}) {
        std::vector<uint8_t> expected(kMargin + size + kMargin, kUntouched);
        std::vector<uint8_t> target = expected;
        const auto first = source.begin() + static_cast<std::ptrdiff_t>(from);
        std::copy(first, first + static_cast<std::ptrdiff_t>(size),
                  expected.begin() + static_cast<std::ptrdiff_t>(to));
        Copy(target.data() + to, source.data() + from, size);
        ASSERT_TRUE(target == expected) << size << " bytes, from + " << from << ", to + " << to;
      }
    }
  }
}

}  // namespace
}  // namespace multilayer

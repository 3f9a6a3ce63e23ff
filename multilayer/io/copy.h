// Copies between matrices and buffers.
#pragma once

#include <cstddef>

namespace multilayer {

// What is this large leaves the second-level cache before anybody reads it again.
inline constexpr size_t kPastCaches = size_t{4} << 20;

// As memcpy, but writes past the caches from kPastCaches bytes on: what is written is then not read
// from memory first. The C library does so too, but only for more than most planes of a wall have.
void Copy(void* to, const void* from, size_t size);

}  // namespace multilayer

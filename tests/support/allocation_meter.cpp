// Replaces operator new and the matrices' allocator by ones that count.
#include "tests/support/allocation_meter.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include <opencv2/core.hpp>

namespace {

std::atomic<size_t> live{0};
std::atomic<size_t> most{0};

void Add(size_t size) { most = std::max<size_t>(most, live += size); }
void Remove(size_t size) { live -= size; }

// Each block of operator new carries its size in front.
constexpr size_t kFront = alignof(std::max_align_t);

// What the matrix library asks for beyond the elements: the block's address, and its alignment.
constexpr size_t kAround = sizeof(void*) + 64;

class CountingAllocator : public cv::MatAllocator {
 public:
  cv::UMatData* allocate(int dims, const int* sizes, int type, void* data, size_t* step,
                         cv::AccessFlag flags, cv::UMatUsageFlags usage) const override {
    cv::UMatData* block =
        cv::Mat::getStdAllocator()->allocate(dims, sizes, type, data, step, flags, usage);
    block->prevAllocator = block->currAllocator = this;
    Add(data == nullptr ? block->size + kAround : 0);
    return block;
  }
  bool allocate(cv::UMatData* block, cv::AccessFlag, cv::UMatUsageFlags) const override {
    return block != nullptr;
  }
  void deallocate(cv::UMatData* block) const override {
    Remove((block->flags & cv::UMatData::USER_ALLOCATED) == 0 ? block->size + kAround : 0);
    cv::Mat::getStdAllocator()->deallocate(block);
  }
};

}  // namespace

void* operator new(size_t size) {
  void* block = size > SIZE_MAX - kFront ? nullptr : std::malloc(size + kFront);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  std::memcpy(block, &size, sizeof size);
  Add(size);
  return static_cast<uint8_t*>(block) + kFront;
}

void operator delete(void* data) noexcept {
  if (data == nullptr) {
    return;
  }
  void* block = static_cast<uint8_t*>(data) - kFront;
  size_t size = 0;
  std::memcpy(&size, block, sizeof size);
  Remove(size);
  std::free(block);
}

void operator delete(void* data, size_t) noexcept { operator delete(data); }

namespace multilayer::testing {

AllocationMeter::AllocationMeter() {
  static CountingAllocator allocator;
  cv::Mat::setDefaultAllocator(&allocator);
  base_ = live;
  most = base_;
}

size_t AllocationMeter::peak() const { return most - base_; }

}  // namespace multilayer::testing

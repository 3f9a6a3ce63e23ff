// How much memory a program holds at most: everything from operator new (vectors, texts, the
// matrix library's bookkeeping) and the elements of matrices, which come from another allocator.
#pragma once

#include <cstddef>

namespace multilayer::testing {

class AllocationMeter {
 public:
  // Measures from here on; one at a time.
  AllocationMeter();
  // The most bytes that were held at once since construction, beyond those held before.
  size_t peak() const;

 private:
  size_t base_;
};

}  // namespace multilayer::testing

// One computation at one size, as the harness runs it: as shipped, as defined, and the floor.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <opencv2/core.hpp>

namespace multilayer::bench {

using Mats = std::vector<cv::Mat>;

// A benchmark of a computation that was refused would measure nothing.
inline void Must(int32_t status) {
  if (status != 0) {
    std::fprintf(stderr, "bench: a computation was refused with status %d\n", status);
    std::abort();
  }
}

// The matrices that a run touches.
struct Touched {
  Mats read;     // inputs
  Mats updated;  // read and written in place
  Mats written;  // results
  // Whether each run makes its results anew while it holds those of the run before.
  bool made_anew = false;
};

class Computation {
 public:
  explicit Computation(cv::Size size) : size_(size) {}
  virtual ~Computation() = default;
  Computation(const Computation&) = delete;
  Computation& operator=(const Computation&) = delete;

  cv::Size size() const { return size_; }

  // Brings everything to where a run begins: each run is preceded by a call, which is not timed.
  virtual void Start() {}

  virtual void Shipped() = 0;

  // The plain definition that the time is compared with, if there is one beside the shipped code.
  virtual bool HasPlain() const { return false; }
  virtual void Plain() {}

  // The plain definition whose bytes the shipped code must give, where that is another one.
  virtual bool HasOtherDefinition() const { return false; }
  virtual void Definition() {}

  // Reads what a run reads once, and writes what it writes once. By default a loop over the matrices
  // of Memory, or new ones for results that are made anew.
  virtual void Floor();

  // Header copies: to be dropped before the next run, for a matrix that is shared is not reused.
  virtual Touched Memory() = 0;

  // Bytes that a run moves at least; by default those of the matrices.
  virtual uint64_t MovedBytes();

 private:
  cv::Size size_;
};

struct Case {
  const char* name;
  std::unique_ptr<Computation> (*make)(cv::Size);
  // Whether kernels do the work, which come for several instruction sets.
  bool has_kernels = false;
};

// All computations, in the order of the table.
const std::vector<Case>& Cases();

uint64_t BytesOf(const Mats& mats);

}  // namespace multilayer::bench

// The two ends of a byte stream, file or memory: a writer that can also just count, and a reader
// that never hands out what is not there.
#pragma once

#include <cstdint>
#include <cstdio>
#include <type_traits>

namespace multilayer {

// Writes to memory, to a file, or nowhere (then it only counts). Keeps no error of the file: a
// caller that must know compares the file's length with size().
class ByteWriter {
 public:
  // Counts only.
  ByteWriter() = default;
  // Writes to `file`, open for binary output; borrowed.
  explicit ByteWriter(std::FILE* file) : file_(file) {}
  // Writes to `memory`, which the caller guarantees to hold all that will be written; borrowed.
  explicit ByteWriter(uint8_t* memory) : memory_(memory) {}

  void Bytes(const void* data, uint64_t size);

  template <class Value>
  void Put(const Value& value) {
    static_assert(std::is_trivially_copyable_v<Value> && !std::is_pointer_v<Value>);
    Bytes(&value, sizeof value);
  }

  // The place in memory of the next `size` bytes, which count as written: for the caller to fill.
  // Null, and nothing counts, for a file.
  uint8_t* InPlace(uint64_t size);

  // Counts `size` bytes that are not worth preparing, as counts_only() tells.
  void Count(uint64_t size) { size_ += size; }

  // True if nothing is stored, so that the values need not be prepared.
  bool counts_only() const { return file_ == nullptr && memory_ == nullptr; }
  // Bytes written (or counted) so far.
  uint64_t size() const { return size_; }

 private:
  std::FILE* file_ = nullptr;
  uint8_t* memory_ = nullptr;
  uint64_t size_ = 0;
};

// Reads a stream of known length. Values beyond its end read as 0 and set ended_early(); a caller
// that finds something no valid stream can hold calls Refuse(), and from then on everything reads
// as 0. Memory for what is read is asked for with Claim(), which keeps a forged header from
// allocating more than the stream's length justifies.
class ByteReader {
 public:
  // Reads `size` bytes at `memory`; borrowed.
  ByteReader(const uint8_t* memory, uint64_t size);
  // Reads `size` bytes from `file`, open for binary input; borrowed.
  ByteReader(std::FILE* file, uint64_t size);

  // Reads up to `size` bytes in whole units of `unit` bytes; what is missing becomes 0.
  void Bytes(void* data, uint64_t size, uint64_t unit);

  // The next `size` bytes in memory, which count as read; borrowed, as the stream. Null, and nothing
  // counts, for a file or if less is left.
  const uint8_t* InPlace(uint64_t size);

  // Copies `size` bytes that begin `ahead` of the next one, which stays the next. False, and `data`
  // may be anything, if they are not there.
  bool Peek(uint64_t ahead, void* data, uint64_t size);

  // Passes over `size` bytes, of which the caller has seen that they are there.
  void Skip(uint64_t size);

  // Reads one value, 0 when less than all of it is left. Returns false then.
  template <class Value>
  bool Get(Value& value) {
    static_assert(std::is_trivially_copyable_v<Value> && !std::is_pointer_v<Value>);
    Bytes(&value, sizeof value, sizeof value);
    return !ended_early_;
  }

  // True if `size` more bytes may be allocated: all claims together stay within four times the
  // stream's length plus 15 MiB, so that reading never takes more than 16 MiB beyond it. Otherwise
  // refuses the stream.
  bool Claim(uint64_t size);

  void Refuse() {
    refused_ = true;
    remaining_ = 0;
  }

  bool refused() const { return refused_; }
  bool ended_early() const { return ended_early_; }
  uint64_t remaining() const { return remaining_; }

 private:
  std::FILE* file_ = nullptr;
  const uint8_t* memory_ = nullptr;
  uint64_t remaining_ = 0;
  uint64_t allowance_ = 0;
  bool refused_ = false;
  bool ended_early_ = false;
};

}  // namespace multilayer

// Bytes to and from files and memory.
#include "multilayer/io/byte_stream.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <unistd.h>

#include <sys/types.h>

#include "multilayer/io/copy.h"

namespace multilayer {
namespace {

// What may be claimed beyond four times the stream's length: 16 MiB, of which 1 MiB is kept for the
// reading itself (a span of values, the file's own buffer, a log line).
constexpr uint64_t kFreeAllowance = uint64_t{15} << 20;

uint64_t AllowanceFor(uint64_t length) {
  constexpr uint64_t kMax = std::numeric_limits<uint64_t>::max();
  return length > (kMax - kFreeAllowance) / 4 ? kMax : 4 * length + kFreeAllowance;
}

}  // namespace

void ByteWriter::Bytes(const void* data, uint64_t size) {
  if (size == 0) {
    return;  // nothing may have no address
  }
  if (file_ != nullptr) {
    std::fwrite(data, 1, size, file_);
  } else if (memory_ != nullptr) {
    Copy(memory_ + size_, data, size);
  }
  size_ += size;
}

uint8_t* ByteWriter::InPlace(uint64_t size) {
  if (memory_ == nullptr) {
    return nullptr;
  }
  uint8_t* const place = memory_ + size_;
  size_ += size;
  return place;
}

ByteReader::ByteReader(const uint8_t* memory, uint64_t size)
    : memory_(memory), remaining_(size), allowance_(AllowanceFor(size)) {}

ByteReader::ByteReader(std::FILE* file, uint64_t size)
    : file_(file), remaining_(size), allowance_(AllowanceFor(size)) {}

void ByteReader::Bytes(void* data, uint64_t size, uint64_t unit) {
  uint64_t available = std::min(size, remaining_) / unit * unit;
  if (available > 0) {
    if (file_ != nullptr) {
      available = std::fread(data, 1, available, file_) / unit * unit;
    } else {
      Copy(data, memory_, available);
      memory_ += available;
    }
  }
  remaining_ -= available;
  if (available < size) {
    std::memset(static_cast<uint8_t*>(data) + available, 0, size - available);
    ended_early_ = true;
    remaining_ = 0;
  }
}

const uint8_t* ByteReader::InPlace(uint64_t size) {
  if (memory_ == nullptr || size > remaining_) {
    return nullptr;
  }
  const uint8_t* const place = memory_;
  memory_ += size;
  remaining_ -= size;
  return place;
}

// Around the file's own buffer, which a seek for every few bytes would fill in vain.
bool ByteReader::Peek(uint64_t ahead, void* data, uint64_t size) {
  if (size > remaining_ || ahead > remaining_ - size) {
    return false;
  }
  if (file_ == nullptr) {
    std::memcpy(data, memory_ + ahead, size);
    return true;
  }
  const off_t begin = ftello(file_) + static_cast<off_t>(ahead);
  for (uint64_t done = 0; done < size;) {
    const ssize_t count = pread(fileno(file_), static_cast<uint8_t*>(data) + done, size - done,
                                begin + static_cast<off_t>(done));
    if (count <= 0) {
      return false;
    }
    done += static_cast<uint64_t>(count);
  }
  return true;
}

void ByteReader::Skip(uint64_t size) {
  if (file_ != nullptr) {
    fseeko(file_, static_cast<off_t>(size), SEEK_CUR);
  } else {
    memory_ += size;
  }
  remaining_ -= size;
}

bool ByteReader::Claim(uint64_t size) {
  if (size > allowance_) {
    Refuse();
    return false;
  }
  allowance_ -= size;
  return true;
}

}  // namespace multilayer

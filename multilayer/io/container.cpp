// The mark, matrix records and file names.
#include "multilayer/io/container.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include <opencv2/core.hpp>

namespace multilayer {
namespace {

constexpr uint8_t kByteOrderMark = 'L';

struct MatHeader {
  int32_t rows = 0;
  int32_t cols = 0;
  int32_t type = 0;
  int32_t channels = 0;
};
static_assert(sizeof(MatHeader) == 16);

// Bytes of one value of an OpenCV depth; 0 for a depth that does not exist (negative types have a
// negative remainder).
uint64_t ValueSize(int32_t depth) {
  constexpr uint64_t kSizes[] = {1, 1, 2, 2, 4, 4, 8, 2};
  return depth < 0 ? 0 : kSizes[depth];
}

void WritePlane(ByteWriter& writer, const cv::Mat& plane) {
  const uint64_t row_size = static_cast<uint64_t>(plane.cols) * plane.elemSize();
  if (plane.isContinuous()) {
    writer.Bytes(plane.data, row_size * static_cast<uint64_t>(plane.rows));
    return;
  }
  for (int row = 0; row < plane.rows; ++row) {
    writer.Bytes(plane.ptr(row), row_size);
  }
}

// Calls `visit` with headers of one row on all elements of `mat`, in order, a bounded number at a
// time: the memory for splitting or merging channels stays constant, and a tall matrix costs no
// more than a wide one.
template <class Visit>
void ForEachSpan(const cv::Mat& mat, const Visit& visit) {
  constexpr size_t kSpan = size_t{1} << 16;
  // The matrix library splits and merges no half floats; for moving them, they are 16-bit words.
  const int depth = mat.depth() == CV_16F ? CV_16U : mat.depth();
  const int type = CV_MAKETYPE(depth, mat.channels());
  const size_t rows = mat.isContinuous() ? 1 : static_cast<size_t>(mat.rows);
  const size_t row_count = mat.total() / rows;
  for (size_t row = 0; row < rows; ++row) {
    uint8_t* first = mat.data + row * mat.step[0];
    for (size_t begin = 0; begin < row_count; begin += kSpan) {
      const int count = static_cast<int>(std::min(kSpan, row_count - begin));
      visit(cv::Mat(1, count, type, first + begin * mat.elemSize()));
    }
  }
}

// Points of two 32-bit values, of which the library's own records are full.
constexpr size_t kWord = 4;
bool HoldsPoints(const cv::Mat& mat) { return mat.channels() == 2 && mat.elemSize1() == kWord; }

// Every second word.
void TakeWords(const uint8_t* __restrict points, uint8_t* __restrict words, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    std::memcpy(words + i * kWord, points + 2 * i * kWord, kWord);
  }
}

void WriteChannel(ByteWriter& writer, const cv::Mat& mat, int channel) {
  cv::Mat values;
  ForEachSpan(mat, [&](const cv::Mat& span) {
    if (HoldsPoints(mat)) {
      values.create(1, span.cols, CV_MAKETYPE(span.depth(), 1));
      TakeWords(span.data + static_cast<size_t>(channel) * kWord, values.data, values.total());
    } else {
      cv::extractChannel(span, values, channel);
    }
    WritePlane(writer, values);
  });
}

void ReadChannel(ByteReader& reader, const cv::Mat& mat, int channel) {
  ForEachSpan(mat, [&](cv::Mat span) {
    cv::Mat values(1, span.cols, span.depth());
    reader.Bytes(values.data, values.total() * values.elemSize(), values.elemSize());
    cv::insertChannel(values, span, channel);
  });
}

// Points are gone through once, but for writing them to a file. Planes in memory need not be aligned,
// as the matrix library's must.
void SplitPoints(const uint8_t* __restrict points, uint8_t* __restrict x, uint8_t* __restrict y,
                 size_t count) {
  for (size_t i = 0; i < count; ++i) {
    std::memcpy(x + i * kWord, points + 2 * i * kWord, kWord);
    std::memcpy(y + i * kWord, points + (2 * i + 1) * kWord, kWord);
  }
}

void MergePoints(const uint8_t* __restrict x, const uint8_t* __restrict y,
                 uint8_t* __restrict points, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    std::memcpy(points + 2 * i * kWord, x + i * kWord, kWord);
    std::memcpy(points + (2 * i + 1) * kWord, y + i * kWord, kWord);
  }
}

// One plane a channel.
void WriteChannels(ByteWriter& writer, const cv::Mat& mat) {
  const uint64_t size = mat.total() * mat.elemSize();
  if (writer.counts_only()) {
    writer.Count(size);
    return;
  }
  uint8_t* x = HoldsPoints(mat) ? writer.InPlace(size) : nullptr;
  if (x == nullptr) {
    for (int channel = 0; channel < mat.channels(); ++channel) {
      WriteChannel(writer, mat, channel);
    }
    return;
  }
  const auto count = static_cast<size_t>(mat.cols);
  for (int row = 0; row < mat.rows; ++row, x += count * kWord) {
    SplitPoints(mat.ptr(row), x, x + size / 2, count);
  }
}

// Into a new matrix. False, with nothing read, if the stream does not hold all of them.
bool ReadPoints(ByteReader& reader, cv::Mat& mat) {
  const uint64_t plane = mat.total() * kWord;
  if (const uint8_t* const x = reader.InPlace(2 * plane); x != nullptr) {
    MergePoints(x, x + plane, mat.data, mat.total());
    return true;
  }
  constexpr uint64_t kSpan = uint64_t{256} << 10;  // two of them stay in the second-level cache
  std::vector<uint8_t> values(2 * std::min(kSpan, plane));
  uint8_t* const x = values.data();
  uint8_t* const y = x + values.size() / 2;
  for (uint64_t begin = 0; begin < plane; begin += kSpan) {
    const uint64_t size = std::min(kSpan, plane - begin);
    if (!reader.Peek(begin, x, size) || !reader.Peek(plane + begin, y, size)) {
      return false;
    }
    MergePoints(x, y, mat.data + 2 * begin, size / kWord);
  }
  reader.Skip(2 * plane);
  return true;
}

void ReadChannels(ByteReader& reader, cv::Mat& mat) {
  if (HoldsPoints(mat) && ReadPoints(reader, mat)) {
    return;
  }
  for (int channel = 0; channel < mat.channels(); ++channel) {
    ReadChannel(reader, mat, channel);
  }
}

}  // namespace

int32_t HasExtension(const std::string& fullname, const std::string& extension) {
  constexpr int32_t kMismatch = 8;
  // What follows a NUL would never reach the operating system.
  const bool ends_with =
      fullname.size() > extension.size() && fullname.find('\0') == std::string::npos &&
      fullname.compare(fullname.size() - extension.size(), std::string::npos, extension) == 0;
  return ends_with ? 0 : kMismatch;
}

void WriteMark(ByteWriter& writer) { writer.Put(kByteOrderMark); }

bool ReadMark(ByteReader& reader) {
  uint8_t mark = 0;
  return reader.Get(mark) && mark == kByteOrderMark;
}

void WriteMat(ByteWriter& writer, const cv::Mat& mat) {
  if (mat.empty() || mat.dims != 2) {
    writer.Put(MatHeader{});
    return;
  }
  writer.Put(MatHeader{mat.rows, mat.cols, mat.type(), mat.channels()});
  // The element count is a 32-bit product by definition of the format.
  if (static_cast<int32_t>(static_cast<uint32_t>(mat.rows) * static_cast<uint32_t>(mat.cols)) < 1) {
    return;
  }
  if (mat.channels() == 1) {
    WritePlane(writer, mat);
  } else {
    WriteChannels(writer, mat);
  }
}

void ReadMat(ByteReader& reader, cv::Mat& mat) {
  mat.release();
  MatHeader header;
  reader.Get(header.rows);
  reader.Get(header.cols);
  reader.Get(header.type);
  const bool complete = reader.Get(header.channels);
  if (header.rows < 1 || header.cols < 1 || !complete) {
    return;
  }
  const int32_t depth = header.type % 8;
  const uint64_t value_size = ValueSize(depth);
  if (value_size == 0 || header.channels < 1 || header.channels > CV_CN_MAX) {
    reader.Refuse();
    return;
  }
  // Below 2^62: rows and columns are below 2^31 each. The product with the element size may not
  // fit, so a count that alone exceeds what may be claimed is refused first.
  const uint64_t count = static_cast<uint64_t>(header.rows) * static_cast<uint64_t>(header.cols);
  const uint64_t element_size = value_size * static_cast<uint64_t>(header.channels);
  constexpr uint64_t kLargest = uint64_t{1} << 48;
  // A stream of tiny matrices costs far more bookkeeping than elements: beside the matrix library's
  // record, an address and up to 64 bytes of alignment with the elements, and 16 bytes of the heap
  // for either block.
  constexpr uint64_t kAlignment = 64;
  constexpr uint64_t kHeap = 32;
  constexpr uint64_t kBookkeeping = sizeof(cv::UMatData) + sizeof(void*) + kAlignment + kHeap;
  if (!reader.Claim(count < kLargest ? count * element_size + kBookkeeping : UINT64_MAX)) {
    return;
  }
  mat.create(header.rows, header.cols, CV_MAKETYPE(depth, header.channels));
  if (header.channels == 1) {
    reader.Bytes(mat.data, count * value_size, value_size);
  } else {
    ReadChannels(reader, mat);
  }
}

}  // namespace multilayer

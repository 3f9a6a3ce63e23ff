// File names and matrix records, against bytes written out by hand.
#include "multilayer/io/container.h"

#include <numeric>

#include <opencv2/core.hpp>

#include "tests/golden/images.h"
#include "tests/io/sources.h"
#include "tests/support/meters.h"

namespace multilayer {
namespace {

using testing::Hex;
using testing::Image;
using testing::OnBothSources;
using testing::SameBits;

TEST(HasExtension, TakesALongerNameWithExactlyThatEnding) {
  const struct {
    const char* fullname;
    int32_t status;
  } cases[] = {
      {"a.mlcoefs", 0}, {"/dir.x/.mlcoefs", 0}, {"a.meter.mlcoefs", 0}, {".mlcoefs", 8},
      {"a.MLCOEFS", 8}, {"a.mlcoefS", 8},       {"a.mlcoefs.bak", 8},   {"a.mlcoefs ", 8},
      {"a_mlcoefs", 8}, {"a.mlcoef", 8},        {"mlcoefs", 8},         {"", 8},
  };
  for (const auto& [fullname, status] : cases) {
    EXPECT_EQ(HasExtension(fullname, ".mlcoefs"), status) << fullname;
  }
}

Image Written(const cv::Mat& mat) {
  ByteWriter counter;
  WriteMat(counter, mat);
  Image bytes(counter.size());
  ByteWriter writer(bytes.data());
  WriteMat(writer, mat);
  EXPECT_EQ(writer.size(), counter.size());
  return bytes;
}

// `rows` x `cols` elements of `type` whose values, in memory order, are the 8- or 16-bit words, ...
// 1, 2, 3, ...
template <class Value>
cv::Mat Counted(int rows, int cols, int type) {
  cv::Mat mat(rows, cols, type);
  std::iota(mat.ptr<Value>(), mat.ptr<Value>() + mat.total() * static_cast<size_t>(mat.channels()),
            Value{1});
  return mat;
}

TEST(MatrixRecord, HasTheBytesOfTheTableAndReadsBack) {
  const cv::Rect inner(1, 1, 2, 2);
  const struct {
    const char* name;
    cv::Mat mat;
    const char* bytes;
  } cases[] = {
      {"empty", {}, "00000000 00000000 00000000 00000000"},
      {"8U", Counted<uint8_t>(2, 3, CV_8UC1), "02000000 03000000 00000000 01000000  010203 040506"},
      {"8S", Counted<int8_t>(1, 1, CV_8SC1), "01000000 01000000 01000000 01000000  01"},
      {"16U", Counted<uint16_t>(2, 1, CV_16UC1), "02000000 01000000 02000000 01000000  0100 0200"},
      {"16S", cv::Mat_<int16_t>(1, 1, int16_t{-2}), "01000000 01000000 03000000 01000000  FEFF"},
      {"32S", cv::Mat_<int32_t>(1, 1, -2), "01000000 01000000 04000000 01000000  FEFFFFFF"},
      {"32F", cv::Mat_<float>(1, 1, -1.5F), "01000000 01000000 05000000 01000000  0000C0BF"},
      {"64F", cv::Mat_<double>(1, 1, 0.5), "01000000 01000000 06000000 01000000  000000000000E03F"},
      {"16F", Counted<uint16_t>(1, 2, CV_16FC1), "01000000 02000000 07000000 01000000  0100 0200"},
      {"two channels", Counted<uint8_t>(1, 3, CV_8UC2),
       "01000000 03000000 08000000 02000000  010305 020406"},
      {"three channels", Counted<uint16_t>(2, 2, CV_16UC3),
       "02000000 02000000 12000000 03000000"
       "  0100 0400 0700 0A00  0200 0500 0800 0B00  0300 0600 0900 0C00"},
      {"half floats in two channels", Counted<uint16_t>(1, 2, CV_16FC2),
       "01000000 02000000 0F000000 02000000  0100 0300  0200 0400"},
      {"points", Counted<int32_t>(1, 2, CV_32SC2),
       "01000000 02000000 0C000000 02000000  01000000 03000000  02000000 04000000"},
      {"part of a larger matrix", Counted<uint8_t>(3, 4, CV_8UC1)(inner),
       "02000000 02000000 00000000 01000000  0607 0A0B"},
      {"part of a larger matrix of two channels", Counted<uint8_t>(3, 4, CV_8UC2)(inner),
       "02000000 02000000 08000000 02000000  0B0D 1315  0C0E 1416"},
  };
  for (const auto& [name, mat, bytes] : cases) {
    SCOPED_TRACE(name);
    const Image image = Hex(bytes);
    EXPECT_EQ(Written(mat), image);
    ByteReader reader(image.data(), image.size());
    cv::Mat read = cv::Mat::ones(5, 5, CV_8UC1);
    ReadMat(reader, read);
    EXPECT_TRUE(SameBits(read, mat));
    EXPECT_EQ(reader.remaining(), 0U);
    EXPECT_FALSE(reader.ended_early() || reader.refused());
  }
}

// Channels are split and merged a span of elements at a time.
TEST(MatrixRecord, ReadsBackAcrossSpansOfManyElements) {
  const cv::Mat wide = Counted<int16_t>(3, 70000, CV_16SC2);
  const cv::Mat points = Counted<int32_t>(3, 40000, CV_32SC2);
  for (const cv::Mat& mat :
       {wide, wide.colRange(1, 69999), wide.reshape(2, 70000).clone(),
        Counted<float>(1, 3, CV_32FC(512)), points, points.colRange(1, 39999)}) {
    SCOPED_TRACE(::testing::Message() << mat.size() << " continuous " << mat.isContinuous());
    const Image image = Written(mat);
    EXPECT_EQ(image.size(), 16 + mat.total() * mat.elemSize());
    OnBothSources(image, [&mat = mat](ByteReader& reader) {
      cv::Mat read;
      ReadMat(reader, read);
      EXPECT_TRUE(SameBits(read, mat));
      EXPECT_EQ(reader.remaining(), 0U);
    });
    // Cut short: a little less than the last channel.
    OnBothSources(Image(image.begin(), image.end() - 5), [&mat = mat](ByteReader& reader) {
      cv::Mat read;
      ReadMat(reader, read);
      EXPECT_TRUE(reader.ended_early());
      EXPECT_TRUE(SameBits(read.row(0).col(0), mat.row(0).col(0)));
    });
  }
}

// The element count is a 32-bit product: where it wraps to 0 or below, the header stands alone.
TEST(MatrixRecord, AnElementCountThatWrapsBelowOneIsAHeaderAlone) {
  uint8_t never_read = 0;
  EXPECT_EQ(Written(cv::Mat(65536, 65536, CV_8UC1, &never_read)),
            Hex("00000100 00000100 00000000 01000000"));
  EXPECT_EQ(Written(cv::Mat(65536, 32768, CV_8UC1, &never_read)),
            Hex("00000100 00800000 00000000 01000000"));
}

TEST(MatrixRecord, OddHeadersAreEmptyOrAreRefused) {
  enum Expected { EMPTY, REFUSED };
  const struct {
    const char* header;
    Expected expected;
  } cases[] = {
      {"00000000 05000000 05000000 01000000", EMPTY},    // no rows
      {"FFFFFFFF 05000000 05000000 01000000", EMPTY},    // rows -1
      {"05000000 00000000 05000000 01000000", EMPTY},    // no columns
      {"05000000 00000080 05000000 01000000", EMPTY},    // columns: the least number
      {"00000000 05000000 FFFFFFFF 00000000", EMPTY},    // the rest does not count then
      {"01000000 01000000 FFFFFFFF 01000000", REFUSED},  // type -1
      {"01000000 01000000 F9FFFFFF 01000000", REFUSED},  // type -7
      {"01000000 01000000 05000000 00000000", REFUSED},  // no channels
      {"01000000 01000000 05000000 FFFFFFFF", REFUSED},  // channels -1
      {"01000000 01000000 05000000 01020000", REFUSED},  // 513 channels
      {"FFFFFF7F FFFFFF7F 06000000 00020000", REFUSED},  // 2^74 bytes
      {"00000040 00000040 00000000 10000000", REFUSED},  // 2^64 bytes
      {"00000100 00000100 05000000 01000000", REFUSED},  // 2^34 bytes, 2^32 elements
  };
  for (const auto& [header, expected] : cases) {
    SCOPED_TRACE(header);
    Image image = Hex(header);
    image.resize(image.size() + 7, 0xEE);
    ByteReader reader(image.data(), image.size());
    cv::Mat mat = cv::Mat::ones(1, 1, CV_8UC1);
    ReadMat(reader, mat);
    EXPECT_TRUE(mat.empty());
    EXPECT_EQ(reader.refused(), expected == REFUSED);
    EXPECT_EQ(reader.remaining(), expected == REFUSED ? 0U : 7U);
  }
}

// Only the depth of the type counts; the channels stand in their own field.
TEST(MatrixRecord, TheTypeGivesTheDepthAlone) {
  const struct {
    const char* header;
    int type;
  } cases[] = {
      {"01000000 01000000 F8FFFFFF 01000000", CV_8UC1},   // -8: remainder 0
      {"01000000 01000000 00000080 01000000", CV_8UC1},   // the least number: remainder 0
      {"01000000 01000000 FD0F0000 01000000", CV_32FC1},  // 512 channels in the type, one in fact
      {"01000000 01000000 05000000 02000000", CV_32FC2},  // one in the type, two in fact
      {"01000000 01000000 00000000 00020000", CV_8UC(512)},  // the most channels
  };
  for (const auto& [header, type] : cases) {
    SCOPED_TRACE(header);
    Image image = Hex(header);
    image.resize(image.size() + 512);
    ByteReader reader(image.data(), image.size());
    cv::Mat mat;
    ReadMat(reader, mat);
    EXPECT_EQ(mat.type(), type);
    EXPECT_EQ(reader.remaining(), 512 - mat.elemSize());
  }
}

TEST(MatrixRecord, WhatAShortStreamLacksIsZero) {
  const struct {
    const char* bytes;
    cv::Mat expected;
  } cases[] = {
      {"01000000 02000000 05000000", {}},
      {"01000000 02000000 05000000 01000000", (cv::Mat_<float>(1, 2) << 0, 0)},
      {"01000000 02000000 05000000 01000000 0000803F 0000", (cv::Mat_<float>(1, 2) << 1, 0)},
      {"01000000 02000000 08000000 02000000 0102 03",
       (cv::Mat_<cv::Vec2b>(1, 2) << cv::Vec2b(1, 3), cv::Vec2b(2, 0))},
  };
  for (const auto& [bytes, expected] : cases) {
    SCOPED_TRACE(bytes);
    const Image image = Hex(bytes);
    ByteReader reader(image.data(), image.size());
    cv::Mat mat;
    ReadMat(reader, mat);
    EXPECT_TRUE(SameBits(mat, expected)) << mat;
    EXPECT_TRUE(reader.ended_early());
    EXPECT_FALSE(reader.refused());
  }
}

}  // namespace
}  // namespace multilayer

// Cut and forged files: no crash, no hang, no more memory than their length justifies, and an
// object that is either what the file says or as it was.
#include <algorithm>
#include <memory>
#include <vector>

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include "multilayer/coeff/chroma_coeff.h"
#include "multilayer/coeff/lum_coeff.h"
#include "multilayer/color/white_coeff.h"
#include "multilayer/meter/led_meter.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "tests/golden/images.h"
#include "tests/support/allocation_meter.h"
#include "tests/support/log_recorder.h"

namespace multilayer {
namespace {

using testing::AllocationMeter;
using ::testing::AnyOf;
using testing::FullMeterImage;
using testing::Hex;
using testing::Image;
using testing::ImageOf;
using testing::kChromaImage;
using testing::kCoefficientImage;
using testing::kLumImage;
using testing::LogRecorder;
using testing::TempFolder;
using testing::WithWord;
using testing::WriteFile;

constexpr size_t kFreeAllocation = size_t{16} << 20;
size_t LimitFor(const Image& image) { return 4 * image.size() + kFreeAllocation; }

struct Outcome {
  int32_t status = 0;
  size_t error_lines = 0;
};

// Reads with `read` into `object`, whose own image is `before`, and holds the outcome against the
// rules of every reader.
template <class Object, class Read>
Outcome ReadChecked(Object& object, const Image& before, const Image& image, const Read& read) {
  LogRecorder log;
  const AllocationMeter meter;
  const int32_t status = read(object);
  const size_t peak = meter.peak();
  const Outcome outcome = {status, log.TakeErrors().size()};
  EXPECT_LE(peak, LimitFor(image));
  EXPECT_THAT(outcome.status, AnyOf(0, 3, 9, 10));
  EXPECT_LE(outcome.error_lines, 1U);
  if (outcome.status != 0) {
    EXPECT_EQ(outcome.error_lines, 1U);
    EXPECT_EQ(ImageOf(object), before) << "a failed read changed the object";
  }
  return outcome;
}

// A kind of file, a sound image of it, what its readers say of a body that ends early, and whether
// Load passes over a file without the mark in silence.
template <class Object>
struct Subject;
template <>
struct Subject<MultiLayerCoeff> {
  static constexpr const char* kName = "forged.mlcoefs";
  static constexpr int32_t kEndsEarly = 0;
  static constexpr bool kSilentWithoutMark = true;
  static Image Sound() { return Hex(kCoefficientImage); }
};
template <>
struct Subject<LedMeter> {
  static constexpr const char* kName = "forged.meter";
  static constexpr int32_t kEndsEarly = 9;
  static constexpr bool kSilentWithoutMark = false;
  static Image Sound() { return FullMeterImage(); }
};
template <>
struct Subject<WhiteCoeff> {
  static constexpr const char* kName = "forged.whitecoeff";
  static constexpr int32_t kEndsEarly = 0;
  static constexpr bool kSilentWithoutMark = false;
  static Image Sound() {
    return Hex(
        "4C 01000000 03000000"
        "01000000 02000000 05000000 01000000 0000803F 00000040"
        "01000000 02000000 05000000 01000000 000080BF 0000003F"
        "01000000 02000000 05000000 01000000 00004040 00008040"
        "01000000 02000000 02000000 01000000 03000000 04000000");
  }
};
template <>
struct Subject<LumCoeff> {
  static constexpr const char* kName = "forged.lumcoeff";
  static constexpr int32_t kEndsEarly = 0;
  static constexpr bool kSilentWithoutMark = false;
  static Image Sound() { return Hex(kLumImage); }
};
template <>
struct Subject<ChromaCoeff> {
  static constexpr const char* kName = "forged.chromacoeff";
  static constexpr int32_t kEndsEarly = 0;
  static constexpr bool kSilentWithoutMark = false;
  static Image Sound() { return Hex(kChromaImage); }
};

template <class Object>
class HostileFile : public ::testing::Test {
 protected:
  // An object is costly to make only when the last read replaced it.
  Outcome FromBuffer(const Image& image) {
    const Outcome outcome = ReadChecked(object_, before_, image, [&image](Object& object) {
      // Exactly as long as the image, so that the sanitizer sees a read beyond it.
      const std::unique_ptr<uint8_t[]> exact(new uint8_t[image.size()]);
      std::copy(image.begin(), image.end(), exact.get());
      return object.FromBuffer(exact.get(), image.size());
    });
    Restore(outcome);
    return outcome;
  }

  Outcome FromFile(const Image& image) {
    const std::string fullname = folder_ / Subject<Object>::kName;
    WriteFile(fullname, image);
    const Outcome outcome =
        ReadChecked(object_, before_, image, [&](Object& object) { return object.Load(fullname); });
    Restore(outcome);
    return outcome;
  }

  const Image sound_ = Subject<Object>::Sound();

 private:
  void Restore(const Outcome& outcome) {
    if (outcome.status == 0) {
      object_ = Object();
    }
  }

  TempFolder folder_;
  Object object_;
  const Image before_ = ImageOf(object_);
};

using Subjects = ::testing::Types<MultiLayerCoeff, LedMeter, WhiteCoeff, LumCoeff, ChromaCoeff>;
TYPED_TEST_SUITE(HostileFile, Subjects);

TYPED_TEST(HostileFile, EveryPrefixIsReadWithoutHarm) {
  constexpr size_t kMark = 1;
  constexpr size_t kVersionEnd = 5;
  for (size_t length = 0; length < this->sound_.size(); ++length) {
    SCOPED_TRACE(length);
    const Image prefix(this->sound_.begin(), this->sound_.begin() + static_cast<ptrdiff_t>(length));
    const int32_t expected = length < kMark         ? 10
                             : length < kVersionEnd ? 3
                                                    : Subject<TypeParam>::kEndsEarly;
    const Outcome from_buffer = this->FromBuffer(prefix);
    EXPECT_EQ(from_buffer.status, expected);
    EXPECT_EQ(from_buffer.error_lines, 1U);
    const bool silent = length < kMark && Subject<TypeParam>::kSilentWithoutMark;
    const Outcome from_file = this->FromFile(prefix);
    EXPECT_EQ(from_file.status, silent ? 0 : expected);
    EXPECT_EQ(from_file.error_lines, silent ? 0U : 1U);
  }
}

TYPED_TEST(HostileFile, EveryByteWithEveryValueIsReadWithoutHarm) {
  for (size_t offset = 0; offset < this->sound_.size() && !this->HasFailure(); ++offset) {
    Image forged = this->sound_;
    for (int value = 0; value < 256; ++value) {
      forged[offset] = static_cast<uint8_t>(value);
      SCOPED_TRACE(::testing::Message() << "offset " << offset << " value " << value);
      const Outcome from_buffer = this->FromBuffer(forged);
      if (offset > 0 && value % 51 == 0) {  // 0, 51, ... 255: files are slow
        const Outcome from_file = this->FromFile(forged);
        EXPECT_EQ(from_file.status, from_buffer.status);
        EXPECT_EQ(from_file.error_lines, from_buffer.error_lines);
      }
    }
  }
}

// Words that a single forged byte does not reach.
TYPED_TEST(HostileFile, EveryWordWithTheEdgesOfItsRangeIsReadWithoutHarm) {
  for (size_t offset = 0; offset + 4 <= this->sound_.size() && !this->HasFailure(); ++offset) {
    for (const int32_t value : {INT32_MIN, INT32_MIN + 1, -8, -1, 0, 512, 513, 4096, 1 << 20,
                                (1 << 24) - 1, 1 << 24, 1 << 30, INT32_MAX}) {
      SCOPED_TRACE(::testing::Message() << "offset " << offset << " value " << value);
      this->FromBuffer(WithWord(this->sound_, offset, value));
    }
  }
}

// A coefficient image of `layers` layers of one LED, in which every layer is `record`.
Image ManyLayers(int32_t layers, const Image& record) {
  const Image sound = Hex(kCoefficientImage);
  Image image = WithWord({sound.begin(), sound.begin() + 65}, 33, layers);
  image.resize(image.size() + 16);  // pos_hardware: empty
  for (int32_t i = 0; i < 3 * layers; ++i) {
    image.insert(image.end(), record.begin(), record.end());
  }
  return image;
}

const Image kOneLed = Hex("01000000 01000000 05000000 01000000 0000803F");

// The worst that a stream can ask for: matrices whose bookkeeping is far larger than they are.
TEST(HostileCoefficients, ManySmallMatricesStayWithinTheLimit) {
  const Image kOneByte = Hex("01000000 01000000 00000000 01000000 FF");
  const Image kEmpty = Hex("00000000 00000000 00000000 00000000");
  const Image kTwoChannels = Hex("01000000 01000000 00000000 02000000 FF FF");
  for (const Image& record : {kOneLed, kOneByte, kEmpty, kTwoChannels}) {
    for (int32_t layers = 4000; layers <= 256000; layers *= 2) {
      SCOPED_TRACE(::testing::Message() << record.size() << " bytes, layers " << layers);
      const Image image = ManyLayers(layers, record);
      LogRecorder log;
      MultiLayerCoeff engine;
      const AllocationMeter meter;
      EXPECT_THAT(engine.FromBuffer(image.data(), image.size()), AnyOf(0, 9));
      EXPECT_LE(meter.peak(), LimitFor(image));
    }
  }
}

TEST(HostileCoefficients, TheMostLayersOfTheSmallestPartitionCanBeReadBack) {
  const Image image = ManyLayers(MultiLayerCoeff::kMaxCoefLayers, kOneLed);
  MultiLayerCoeff engine;
  EXPECT_EQ(engine.FromBuffer(image.data(), image.size()), 0);
  EXPECT_EQ(engine.coef_b.size(), static_cast<size_t>(MultiLayerCoeff::kMaxCoefLayers));
  EXPECT_EQ(engine.coef_b.back().at<float>(0, 0), 1.0F);
}

// The measurement itself: it sees elements, bookkeeping and vectors, and would find a reader that
// trusts its headers.
TEST(AllocationMeter, SeesVectorsMatricesAndThePeak) {
  const AllocationMeter meter;
  {
    const std::vector<uint8_t> vector(1000);
    EXPECT_EQ(meter.peak(), 1000U);
  }
  EXPECT_EQ(meter.peak(), 1000U) << "the peak stays";
  {
    const cv::Mat matrix(100, 100, CV_32FC1);
    const size_t whole = 40000U + sizeof(cv::UMatData) + sizeof(void*) + 64;  // with its alignment
    EXPECT_EQ(meter.peak(), whole);
    const cv::Mat shared[] = {matrix};
    EXPECT_EQ(meter.peak(), whole) << shared[0].total();
  }
  const AllocationMeter later;
  EXPECT_EQ(later.peak(), 0U);
  const std::vector<cv::Mat> trusting(size_t{1} << 18);  // 24 MiB of headers
  EXPECT_GT(later.peak(), LimitFor(Hex(kCoefficientImage)));
}

}  // namespace
}  // namespace multilayer

// The sixteen functions as a host calls them.
#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>

#include <gmock/gmock.h>
#include <sys/resource.h>

#include "multilayer/api/multilayer.h"
#include "tests/support/engines.h"
#include "tests/support/log_recorder.h"
#include "tests/support/meters.h"

namespace multilayer::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr float kFullScale[3] = {100, 200, 50};
constexpr int kLayers[] = {32, 64, 128, 255};
constexpr double kRatios[] = {0.1, 0.2, 0.3};
constexpr float kRgbToY[] = {100, 0, 0, 200, 0, 0, 50, 0, 0};
constexpr float kXyz[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
constexpr float kWhite[3] = {1, 1, 1};

MultiLayerMat Describe(const cv::Mat& mat) {
  return {mat.rows, mat.cols, mat.type(), static_cast<int32_t>(mat.total() * mat.elemSize()),
          mat.data};
}

// What a caller allocates for a result of up to `room` layers.
struct Result {
  explicit Result(size_t room) : r(room), g(room), b(room) {
    record.coef_r = r.data();
    record.coef_g = g.data();
    record.coef_b = b.data();
  }
  std::vector<MultiLayerMat> r;
  std::vector<MultiLayerMat> g;
  std::vector<MultiLayerMat> b;
  MultiLayerResult record = {};
};

class Api : public ::testing::Test {
 protected:
  Api() { EXPECT_EQ(MultiLayerCreateHandle(&handle_), 0); }
  ~Api() override { MultiLayerRelease(handle_); }

  int32_t SetLum(const MultiLayerMat& gamma, int count = 4, int iterate = -1) {
    return MultiLayerSetParamLum(handle_, &gamma, kRatios, kRgbToY, kLayers, count, iterate, 6, 16);
  }
  int32_t ComputeLum() {
    return MultiLayerComputeLum(handle_, set_.red.data(), set_.green.data(), set_.blue.data(),
                                static_cast<int>(set_.red.size()));
  }
  void SetAndCompute() {
    ASSERT_EQ(SetLum(gamma_), 0);
    ASSERT_EQ(ComputeLum(), 0);
  }

  cv::Mat table_ = LinearGamma();
  MultiLayerMat gamma_ = Describe(table_);
  MeterSet set_ = MakeIdealSet({3, 2}, LumParameters().Layers(), kFullScale);
  MultiLayerHandle handle_ = nullptr;
  LogRecorder log_;
};

TEST_F(Api, NullArgumentsAreStatusOneAndNotLogged) {
  MultiLayerResult result = {};
  uint64_t size = 0;
  uint8_t byte = 0;
  LedMeter** none = nullptr;
  LedMeter** some = set_.red.data();
  MultiLayerHandle h = handle_;
  const int32_t statuses[] = {
      MultiLayerCreateHandle(nullptr),
      MultiLayerSetParamLum(nullptr, &gamma_, kRatios, kRgbToY, kLayers, 4, -1, 6, 16),
      MultiLayerSetParamLum(h, nullptr, kRatios, kRgbToY, kLayers, 4, -1, 6, 16),
      MultiLayerSetParamLum(h, &gamma_, nullptr, kRgbToY, kLayers, 4, -1, 6, 16),
      MultiLayerSetParamLum(h, &gamma_, kRatios, nullptr, kLayers, 4, -1, 6, 16),
      MultiLayerSetParamLum(h, &gamma_, kRatios, kRgbToY, nullptr, 4, -1, 6, 16),
      MultiLayerSetParamWhite(nullptr, &gamma_, kXyz, kWhite, kLayers, 4, 6, 0, 16),
      MultiLayerSetParamWhite(h, nullptr, kXyz, kWhite, kLayers, 4, 6, 0, 16),
      MultiLayerSetParamWhite(h, &gamma_, kXyz, kWhite, nullptr, 0, 6, 0, 16),
      MultiLayerSetRGBXYZ(nullptr, some, some, some, 3),
      MultiLayerSetRGBXYZ(h, some, none, some, 3),
      MultiLayerSetRGBXYZ(h, some, some, some, 2),
      MultiLayerComputeLum(nullptr, some, some, some, 4),
      MultiLayerComputeLum(h, some, some, none, 4),
      MultiLayerComputeWhite(nullptr, some, 3),
      MultiLayerComputeWhite(h, none, 3),
      MultiLayerComputeWhite(h, some, 2),
      MultiLayerComputeWhite(h, some, 4),
      MultiLayerComputeWhiteSingle(nullptr, some, 3, 32),
      MultiLayerComputeWhiteSingle(h, some, 4, 32),
      MultiLayerGet(nullptr, &result, 0),
      MultiLayerGet(h, nullptr, 0),
      MultiLayerRelease(nullptr),
      MultiLayerExportToImge(nullptr, "x"),
      MultiLayerExportToImge(h, nullptr),
      MultiLayerSave(nullptr, "x.mlcoefs"),
      MultiLayerSave(h, nullptr),
      MultiLayerLoad(nullptr, "x.mlcoefs"),
      MultiLayerLoad(h, nullptr),
      MultiLayerToBuffer(nullptr, &byte, &size),
      MultiLayerToBuffer(h, nullptr, &size),
      MultiLayerToBuffer(h, &byte, nullptr),
      MultiLayerFromBuffer(nullptr, &byte, 1),
      MultiLayerFromBuffer(h, nullptr, 1),
      MultiLayerGetBufferSize(nullptr, &size),
      MultiLayerGetBufferSize(h, nullptr),
  };
  EXPECT_THAT(statuses, ::testing::Each(1));
  EXPECT_THAT(log_.TakeErrors(), IsEmpty());
  MultiLayerDestroyHandle(nullptr);
  MultiLayerDestroyHandle(handle_);
  EXPECT_EQ(MultiLayerRelease(handle_), 0) << "destroying does nothing";
}

TEST_F(Api, DescriptorsThatContradictThemselvesAreStatusSeven) {
  constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
  void* data = table_.data;
  const MultiLayerMat bad[] = {
      {3, 256, CV_32SC1, 3071, data},
      {3, 256, CV_32SC1, 3073, data},
      {3, 256, CV_16SC1, 3072, data},
      {3, 256, 7, 1536, data},
      {3, 256, -4, 3072, data},
      {0, 256, CV_32SC1, 0, data},
      {-3, -256, CV_32SC1, 3072, data},
      {3, 256, CV_32SC1, 3072, nullptr},
      {1, 0, CV_32SC1, 0, nullptr},
      {0, 0, CV_32SC1, 4, nullptr},
      {65536, 65536, CV_8UC1, 0, data},
      {65537, 65536, CV_8UC1, 65536, data},
      {1, 3072, 513 * 8, 3072, data},
      {kMax, kMax, CV_8UC1, 1, data},
      {1, 1, kMax, 0, data},
  };
  for (const MultiLayerMat& descriptor : bad) {
    EXPECT_EQ(SetLum(descriptor), 7) << descriptor.rows << "x" << descriptor.cols;
    EXPECT_EQ(MultiLayerSetParamWhite(handle_, &descriptor, kXyz, kWhite, kLayers, 4, 6, 0, 16), 7);
  }
  EXPECT_THAT(log_.TakeErrors(), IsEmpty());
  // An empty matrix is a good descriptor, which the setter then refuses for its size.
  for (const MultiLayerMat& empty : {MultiLayerMat{0, 0, 0, 0, nullptr}, {-1, 0, 4, 0, nullptr}}) {
    EXPECT_EQ(SetLum(empty), 9);
    EXPECT_THAT(log_.TakeErrors(), ElementsAre(HasSubstr("in_gamma_table_RGB Size Error.")));
  }
}

TEST_F(Api, ArgumentsReachTheEngineInTheirOrder) {
  EXPECT_EQ(SetLum(gamma_), 0);
  EXPECT_EQ(SetLum(gamma_, 0), 9) << "no capture layers";
  EXPECT_EQ(SetLum(gamma_, -7), 9);
  EXPECT_EQ(SetLum(gamma_, 4, 0), 0);
  // White: coef_layer_num before iterate.
  EXPECT_EQ(MultiLayerSetParamWhite(handle_, &gamma_, kXyz, kWhite, kLayers, 4, 4, 9, 16), 0);
  MultiLayerResult result = {};
  EXPECT_EQ(MultiLayerGet(handle_, &result, 0), 0);
  EXPECT_EQ(result.coef_layer_num, 4);
  EXPECT_EQ(MultiLayerSetParamWhite(handle_, &gamma_, kXyz, kWhite, kLayers, 4, 3, 9, 16), 9);
}

TEST_F(Api, GetOnAFreshEngineTouchesNoArray) {
  Result result(1);
  result.r[0].rows = 123;
  ASSERT_EQ(MultiLayerGet(handle_, &result.record, 1), 0);
  EXPECT_EQ(result.record.part_x, -1);
  EXPECT_EQ(result.record.capture_layer_num, -1);
  EXPECT_EQ(result.record.bit_width, -1);
  EXPECT_EQ(result.record.coef_layer_num, -1);
  EXPECT_EQ(result.record.rgb_lum_dec_ratio[2], 0);
  EXPECT_EQ(result.record.pos_hardware.data, nullptr);
  EXPECT_EQ(result.r[0].rows, 123);
}

TEST_F(Api, ACallerCanAskForTheCountsFirst) {
  SetAndCompute();
  MultiLayerResult counts = {};
  ASSERT_EQ(MultiLayerGet(handle_, &counts, 0), 0);
  ASSERT_EQ(counts.coef_layer_num, 6);
  Result result(6);
  result.record.coef_g = nullptr;
  ASSERT_EQ(MultiLayerGet(handle_, &result.record, 0), 0);
  EXPECT_EQ(result.b[5].cols, 3);
  EXPECT_EQ(result.g[5].data, nullptr);
}

TEST_F(Api, GetBeforeAComputationGivesEmptyDescriptors) {
  ASSERT_EQ(SetLum(gamma_), 0);
  Result result(6);
  std::memset(result.r.data(), 0x55, sizeof(MultiLayerMat) * 6);
  ASSERT_EQ(MultiLayerGet(handle_, &result.record, 1), 0);
  for (const MultiLayerMat& mat : result.r) {
    EXPECT_TRUE(mat.rows == 0 && mat.type == 0 && mat.size == 0 && mat.data == nullptr);
  }
  std::free(result.record.pos_hardware.data);
}

TEST_F(Api, ResultsAreBorrowedOrCopied) {
  SetAndCompute();
  Result borrowed(6);
  Result copied(6);
  ASSERT_EQ(MultiLayerGet(handle_, &borrowed.record, -1), 0);
  ASSERT_EQ(MultiLayerGet(handle_, &copied.record, 1), 0);
  EXPECT_EQ(borrowed.record.part_w, 3);
  EXPECT_EQ(borrowed.record.screen_h, 2);
  EXPECT_EQ(borrowed.record.rgb_lum_dec_ratio[1], 0.2);
  const MultiLayerMat& positions = borrowed.record.pos_hardware;
  EXPECT_TRUE(positions.rows == 3 && positions.cols == 6 && positions.type == 4);
  EXPECT_EQ(positions.size, 72);
  Result again(6);
  ASSERT_EQ(MultiLayerGet(handle_, &again.record, 0), 0);
  EXPECT_EQ(again.record.pos_hardware.data, positions.data) << "the engine's own storage";
  EXPECT_EQ(again.r[3].data, borrowed.r[3].data);
  ASSERT_NE(copied.b[3].data, borrowed.b[3].data);
  EXPECT_EQ(std::memcmp(copied.b[3].data, borrowed.b[3].data, 24), 0);
  ASSERT_EQ(MultiLayerRelease(handle_), 0);
  EXPECT_NEAR(static_cast<float*>(copied.g[5].data)[5], 0.8, 1e-6) << "copies outlive the engine";
  std::free(copied.record.pos_hardware.data);
  for (auto* list : {&copied.r, &copied.g, &copied.b}) {
    for (const MultiLayerMat& mat : *list) {
      std::free(mat.data);
    }
  }
}

TEST_F(Api, EngineStatusesPassThrough) {
  EXPECT_EQ(ComputeLum(), 706);
  ASSERT_EQ(SetLum(gamma_), 0);
  EXPECT_EQ(MultiLayerComputeLum(handle_, set_.red.data(), set_.green.data(), set_.blue.data(), 3),
            701);
  EXPECT_EQ(MultiLayerComputeLum(handle_, set_.red.data(), set_.green.data(), set_.blue.data(), 0),
            701);
  EXPECT_EQ(MultiLayerComputeLum(handle_, set_.red.data(), set_.green.data(), set_.blue.data(), 1),
            701);
  set_.blue[2]->layer->value = 127;
  EXPECT_EQ(ComputeLum(), 702);
  EXPECT_THAT(log_.TakeErrors(), SizeIs(5));
  uint64_t size = 0;
  EXPECT_EQ(MultiLayerGetBufferSize(handle_, &size), 5);
  EXPECT_EQ(MultiLayerExportToImge(handle_, "nowhere/"), 5) << "not 703";
  EXPECT_THAT(log_.TakeErrors(), IsEmpty());
  EXPECT_EQ(MultiLayerSave(handle_, "x.mlcoefs"), 5);
  EXPECT_EQ(MultiLayerLoad(handle_, "x.MLCOEFS"), 8);
  EXPECT_EQ(MultiLayerLoad(handle_, "does/not/exist.mlcoefs"), 2);
  EXPECT_THAT(log_.TakeErrors(), SizeIs(3));
}

TEST_F(Api, BundlesAreCheckedBeforeWhiteMode) {
  LedMeter* meters[] = {set_.green[0], set_.green[1], set_.green[2]};
  EXPECT_EQ(MultiLayerComputeWhite(handle_, meters, 3), 9) << "three of one type";
  EXPECT_THAT(log_.TakeErrors(), ElementsAre("LedMeter::Check--Error in LedMeter input type same"));
  meters[0]->type = CIE_X;
  meters[2]->type = CIE_Z;
  EXPECT_EQ(MultiLayerSetRGBXYZ(handle_, meters, meters, meters, 3), 0);
  LedMeter* without_z[] = {meters[0], meters[1], nullptr};
  EXPECT_EQ(MultiLayerSetRGBXYZ(handle_, meters, without_z, meters, 3), 1) << "not red";
  EXPECT_THAT(log_.TakeErrors(),
              ElementsAre("LedMeter::Check--Error in LedMeter input is nullptr"));
  LedMeter* empty[] = {nullptr, nullptr, nullptr};
  EXPECT_EQ(MultiLayerComputeWhiteSingle(handle_, empty, 3, 32), 1);
}

TEST_F(Api, FilesAndBuffersRestoreTheResult) {
  SetAndCompute();
  uint64_t size = 0;
  ASSERT_EQ(MultiLayerGetBufferSize(handle_, &size), 0);
  std::vector<uint8_t> bytes(size);
  uint64_t short_size = size - 1;
  EXPECT_EQ(MultiLayerToBuffer(handle_, bytes.data(), &short_size), 13);
  EXPECT_EQ(short_size, size - 1);
  ASSERT_EQ(MultiLayerToBuffer(handle_, bytes.data(), &size), 0);

  const std::string path = ::testing::TempDir() + "api_test.mlcoefs";
  ASSERT_EQ(MultiLayerSave(handle_, path.c_str()), 0);
  EXPECT_EQ(std::filesystem::file_size(path), size);
  ASSERT_EQ(MultiLayerRelease(handle_), 0);
  ASSERT_EQ(MultiLayerLoad(handle_, path.c_str()), 0);
  std::vector<uint8_t> loaded(size);
  ASSERT_EQ(MultiLayerToBuffer(handle_, loaded.data(), &size), 0);
  EXPECT_EQ(loaded, bytes);
  ASSERT_EQ(MultiLayerRelease(handle_), 0);
  ASSERT_EQ(MultiLayerFromBuffer(handle_, bytes.data(), size), 0);
  Result result(6);
  ASSERT_EQ(MultiLayerGet(handle_, &result.record, 0), 0);
  EXPECT_EQ(result.record.part_w, 3);
  EXPECT_NEAR(static_cast<float*>(result.r[0].data)[0], 0.9, 1e-6);
  // Parameters are not stored: a computation needs a setter first.
  EXPECT_EQ(ComputeLum(), 706);
  std::filesystem::remove(path);
}

// What the host asks for may not exist.
TEST_F(Api, RunningOutOfMemoryIsAStatusAndTheHandleStaysUsable) {
#ifdef MULTILAYER_SANITIZED
  GTEST_SKIP() << "the sanitizer aborts on allocations it refuses";
#endif
  LumParameters parameters;
  MeterSet set = MakeIdealSet({1, 1}, parameters.Layers(), kFullScale);
  const cv::Mat one_chroma = cv::Mat::ones(1, 1, CV_32FC1);
  ASSERT_EQ(MultiLayerSetParamLum(handle_, &gamma_, kRatios, kRgbToY, kLayers, 4, -1,
                                  MultiLayerCoeff::kMaxCoefLayers, 16),
            0);
  // 16384 layers of 512 x 512 floats a colour: 48 GiB.
  for (const auto& meter : set.owned) {
    meter->chroma = cv::Mat::ones(512, 512, CV_32FC1);
    meter->state = cv::Mat::ones(512, 512, CV_8UC1);
    meter->part->w = meter->part->h = 512;
  }
  set_ = std::move(set);
  rlimit old_limit = {};
  ASSERT_EQ(getrlimit(RLIMIT_AS, &old_limit), 0);
  rlimit limit = old_limit;
  limit.rlim_cur = rlim_t{2} << 30;
  ASSERT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
  const int32_t status = ComputeLum();
  ASSERT_EQ(setrlimit(RLIMIT_AS, &old_limit), 0);
  EXPECT_EQ(status, 9);
  EXPECT_THAT(log_.TakeErrors(), SizeIs(1));
  set_ = MakeIdealSet({3, 2}, parameters.Layers(), kFullScale);
  SetAndCompute();
}

}  // namespace
}  // namespace multilayer::testing

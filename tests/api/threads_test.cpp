// Handles share nothing: two of them work in two threads at once.
#include <thread>

#include <gmock/gmock.h>

#include "multilayer/api/multilayer.h"
#include "tests/support/engines.h"
#include "tests/support/meters.h"

namespace multilayer::testing {
namespace {

constexpr float kFullScale[3] = {100, 200, 50};

// A whole life of a handle, several times; the bytes of its last result.
std::vector<uint8_t> Work(double ratio) {
  const LumParameters parameters;
  const cv::Mat& table = parameters.gamma_table;
  const MultiLayerMat gamma = {3, 256, CV_32SC1, 3072, table.data};
  MeterSet set = MakeIdealSet({64, 48}, parameters.Layers(), kFullScale);
  const double ratios[] = {ratio, ratio, ratio};
  MultiLayerHandle handle = nullptr;
  std::vector<uint8_t> bytes;
  EXPECT_EQ(MultiLayerCreateHandle(&handle), 0);
  for (int round = 0; round < 20; ++round) {
    EXPECT_EQ(MultiLayerSetParamLum(handle, &gamma, ratios, parameters.rgb_to_y.data(),
                                    parameters.capture_layers.data(), 4, -1, 6, 16),
              0);
    EXPECT_EQ(MultiLayerComputeLum(handle, set.red.data(), set.green.data(), set.blue.data(), 4),
              0);
    EXPECT_EQ(MultiLayerComputeLum(handle, set.red.data(), set.green.data(), set.blue.data(), 3),
              701);
    uint64_t size = 0;
    EXPECT_EQ(MultiLayerGetBufferSize(handle, &size), 0);
    bytes.resize(size);
    EXPECT_EQ(MultiLayerToBuffer(handle, bytes.data(), &size), 0);
    EXPECT_EQ(MultiLayerRelease(handle), 0);
    EXPECT_EQ(MultiLayerFromBuffer(handle, bytes.data(), size), 0);
  }
  EXPECT_EQ(MultiLayerRelease(handle), 0);
  return bytes;
}

TEST(Threads, TwoHandlesWorkAtOnce) {
  const std::vector<uint8_t> alone = Work(0.25);
  std::vector<uint8_t> first;
  std::vector<uint8_t> second;
  std::thread one([&] { first = Work(0.25); });
  std::thread two([&] { second = Work(0.5); });
  one.join();
  two.join();
  EXPECT_EQ(first, alone);
  EXPECT_NE(second, alone);
}

}  // namespace
}  // namespace multilayer::testing

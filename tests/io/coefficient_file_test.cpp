// Coefficient files and buffers: bytes, statuses and log lines.
#include <algorithm>
#include <filesystem>

#include <gmock/gmock.h>
#include <opencv2/core.hpp>
#include <sys/stat.h>

#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "tests/golden/images.h"
#include "tests/support/log_recorder.h"
#include "tests/support/meters.h"

namespace multilayer {
namespace {

using ::testing::ElementsAre;
using testing::Hex;
using testing::Image;
using testing::ImageOf;
using ::testing::IsEmpty;
using testing::kCoefficientImage;
using testing::LogRecorder;
using testing::ReadFile;
using testing::SameBits;
using testing::TempFolder;
using testing::WithWord;
using testing::WriteFile;

cv::Mat Pair(float first, float second) { return (cv::Mat_<float>(1, 2) << first, second); }

// The engine whose image is kCoefficientImage.
MultiLayerCoeff GoldenEngine() {
  MultiLayerCoeff engine;
  engine.part_x_y_w_h = {2, 3, 2, 1, 8, 6};
  engine.capture_layer_num = 1;
  engine.coef_layer_num = 2;
  engine.bit_width = 16;
  engine.rgb_lum_dec_ratio = {0.5, 0.25, 0.0};
  engine.pos_hardware = (cv::Mat_<int32_t>(3, 2) << 100, 65535, 100, 65535, 100, 65535);
  engine.coef_r = {Pair(1, 1.5F), Pair(3, 4)};
  engine.coef_g = {Pair(0.5F, 2), Pair(5, 6)};
  engine.coef_b = {Pair(0.75F, 1.25F), Pair(-1, 0.125F)};
  return engine;
}

const Image kGolden = Hex(kCoefficientImage);

int32_t Read(MultiLayerCoeff& engine, const Image& image) {
  return engine.FromBuffer(image.data(), image.size());
}

TEST(CoefficientFile, FileAndBufferAreTheGoldenBytes) {
  const MultiLayerCoeff engine = GoldenEngine();
  EXPECT_EQ(ImageOf(engine), kGolden);
  uint64_t size = 0;
  EXPECT_EQ(engine.GetBufferSize(&size), 0);
  EXPECT_EQ(size, kGolden.size());
  const TempFolder folder;
  WriteFile(folder / "a.mlcoefs", Image(1000));  // a longer file of that name is replaced
  EXPECT_EQ(engine.Save(folder / "a.mlcoefs"), 0);
  EXPECT_EQ(ReadFile(folder / "a.mlcoefs"), kGolden);
}

TEST(CoefficientFile, TheGoldenBytesReadBackAndTheRestStays) {
  const TempFolder folder;
  WriteFile(folder / "a.mlcoefs", kGolden);
  for (const bool from_file : {false, true}) {
    SCOPED_TRACE(from_file);
    MultiLayerCoeff engine;
    engine.grayMax = 5;
    engine.captureLayer = {1, 2, 3};
    engine.coef_r.resize(7);
    const LogRecorder log;
    EXPECT_EQ(from_file ? engine.Load(folder / "a.mlcoefs") : Read(engine, kGolden), 0);
    const MultiLayerCoeff expected = GoldenEngine();
    EXPECT_EQ(ImageOf(engine), kGolden);
    EXPECT_EQ(engine.bit_width, 16);
    EXPECT_EQ(engine.part_x_y_w_h.screen_h, 6);
    EXPECT_EQ(engine.rgb_lum_dec_ratio, expected.rgb_lum_dec_ratio);
    EXPECT_TRUE(SameBits(engine.pos_hardware, expected.pos_hardware));
    ASSERT_EQ(engine.coef_r.size(), 2U);
    EXPECT_TRUE(SameBits(engine.coef_r[1], expected.coef_r[1]));
    EXPECT_TRUE(SameBits(engine.coef_b[0], expected.coef_b[0]));
    EXPECT_EQ(engine.grayMax, 5);
    EXPECT_THAT(engine.captureLayer, ElementsAre(1, 2, 3));
  }
}

TEST(CoefficientFile, IncompleteEnginesAreStoredAsTheyStand) {
  const std::string no_layers =
      "4C 01000000 FFFFFFFF FFFFFFFF FFFFFFFF FFFFFFFF FFFFFFFF FFFFFFFF"
      "FFFFFFFF FFFFFFFF FFFFFFFF" +
      std::string(3 * 16 + 2 * 16, '0');
  MultiLayerCoeff fresh;
  EXPECT_EQ(ImageOf(fresh), Hex(no_layers));
  MultiLayerCoeff read = GoldenEngine();
  EXPECT_EQ(Read(read, Hex(no_layers)), 0);
  EXPECT_EQ(read.coef_layer_num, -1);
  EXPECT_THAT(read.coef_r, IsEmpty());
  EXPECT_TRUE(read.pos_hardware.empty());

  // Lists shorter than the layers that are named: empty matrices in their place.
  MultiLayerCoeff engine = GoldenEngine();
  engine.coef_g.pop_back();
  engine.coef_b.clear();
  EXPECT_EQ(Read(read, ImageOf(engine)), 0);
  ASSERT_EQ(read.coef_b.size(), 2U);
  EXPECT_TRUE(read.coef_b[0].empty() && read.coef_b[1].empty() && read.coef_g[1].empty());
  EXPECT_TRUE(SameBits(read.coef_r[1], engine.coef_r[1]));
}

TEST(CoefficientFile, EachOperationAsksForItsOwnLists) {
  const TempFolder folder;
  const struct {
    std::vector<cv::Mat> MultiLayerCoeff::*list;
    int32_t save_status;
  } cases[] = {
      {&MultiLayerCoeff::coef_r, 5}, {&MultiLayerCoeff::coef_g, 0}, {&MultiLayerCoeff::coef_b, 0}};
  for (const auto& [list, save_status] : cases) {
    MultiLayerCoeff engine = GoldenEngine();
    (engine.*list).clear();
    LogRecorder log;
    EXPECT_EQ(engine.Save(folder / "a.mlcoefs"), save_status);
    if (save_status != 0) {
      EXPECT_THAT(log.TakeErrors(), ElementsAre("MultiLayerCoeff::Save--Error :: coeff is empty."));
      EXPECT_EQ(engine.Save("wrong.name"), 5) << "tested before the name";
      log.TakeErrors();
    }
    uint64_t size = 77;
    EXPECT_EQ(engine.GetBufferSize(&size), 5);
    EXPECT_EQ(size, 77U);
    EXPECT_THAT(log.TakeErrors(), IsEmpty());
    ImageOf(engine);  // expects 0
  }
}

TEST(CoefficientFile, ABufferOneByteShortIsLeftAlone) {
  const MultiLayerCoeff engine = GoldenEngine();
  Image buffer(kGolden.size() + 1, 0xEE);
  const Image untouched = buffer;
  uint64_t size = kGolden.size() - 1;
  LogRecorder log;
  EXPECT_EQ(engine.ToBuffer(buffer.data(), &size), 13);
  EXPECT_EQ(size, kGolden.size() - 1);
  EXPECT_EQ(buffer, untouched);
  for (const size_t capacity : {kGolden.size(), kGolden.size() + 1}) {
    size = capacity;
    EXPECT_EQ(engine.ToBuffer(buffer.data(), &size), 0);
    EXPECT_EQ(size, kGolden.size());
    EXPECT_TRUE(std::equal(kGolden.begin(), kGolden.end(), buffer.begin()));
    EXPECT_EQ(buffer.back(), 0xEE);
  }
  EXPECT_EQ(engine.ToBuffer(nullptr, &size), 1);
  EXPECT_EQ(engine.ToBuffer(buffer.data(), nullptr), 1);
  EXPECT_EQ(engine.GetBufferSize(nullptr), 1);
  EXPECT_EQ(MultiLayerCoeff().FromBuffer(nullptr, 5), 1);
  EXPECT_THAT(log.TakeErrors(), IsEmpty());
}

TEST(CoefficientFile, EachOperationNamesItself) {
  const TempFolder folder;
  MultiLayerCoeff engine = GoldenEngine();
  uint64_t size = 0;
  LogRecorder log;
  engine.Save(folder / "a.mlcoefs");
  engine.Load(folder / "a.mlcoefs");
  engine.ToBuffer(nullptr, &size);
  engine.FromBuffer(nullptr, size);
  engine.GetBufferSize(&size);
  EXPECT_THAT(
      log.TakeInfos(),
      ElementsAre("MultiLayerCoeff::Save", "MultiLayerCoeff::Load", "MultiLayerCoeff::ToBuffer",
                  "MultiLayerCoeff::FromBuffer", "MultiLayerCoeff::GetBufferSize"));
}

TEST(CoefficientFile, NamesThatCannotBeOpened) {
  const TempFolder folder;
  const std::string missing = folder / "no/a.mlcoefs";
  const std::string directory = folder / "folder.mlcoefs";
  std::filesystem::create_directory(directory);
  const std::string device = folder / "zeros.mlcoefs";
  std::filesystem::create_symlink("/dev/zero", device);
  const std::string pipe = folder / "pipe.mlcoefs";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  MultiLayerCoeff engine = GoldenEngine();
  LogRecorder log;
  for (const std::string& name : {missing, directory, device, pipe}) {
    EXPECT_EQ(engine.Load(name), 2);
    EXPECT_THAT(log.TakeErrors(),
                ElementsAre("MultiLayerCoeff::Load -- Failed to Open file. fullname = " + name));
  }
  for (const std::string& name : {missing, directory}) {
    EXPECT_EQ(engine.Save(name), 4);
    EXPECT_THAT(log.TakeErrors(),
                ElementsAre("MultiLayerCoeff::Save -- Failed to Open file. fullname = " + name));
  }
  EXPECT_EQ(engine.Save(folder / "a.MLCOEFS"), 8);
  EXPECT_THAT(log.TakeErrors(),
              ElementsAre("MultiLayerCoeff::Save--Error :: ext filename mismatch."));
  EXPECT_FALSE(std::filesystem::exists(folder / "a.MLCOEFS"));
  EXPECT_EQ(engine.Load(folder / "a.meter"), 8);
  EXPECT_THAT(log.TakeErrors(),
              ElementsAre("MultiLayerCoeff::Load--Error :: ext filename mismatch."));
  EXPECT_EQ(ImageOf(engine), kGolden);
}

Image WithMark(uint8_t mark) {
  Image image = kGolden;
  image[0] = mark;
  return image;
}

// Where the fields stand in the golden image.
constexpr size_t kVersion = 1;
constexpr size_t kLayers = 33;
constexpr size_t kPosHardware = 65;
constexpr size_t kFirstRed = 105;

constexpr const char* kVersionError = " -- Error version in file.";
constexpr const char* kDataError =
    " -- Error data in file: a count or a matrix header that no valid file can carry.";

TEST(CoefficientFile, BadContentsLeaveTheEngineAsItWas) {
  const struct {
    const char* name;
    Image image;
    int32_t load;
    int32_t from_buffer;
    const char* load_message;  // null: silent
    const char* message;
  } cases[] = {
      {"mark", WithMark('M'), 0, 10, nullptr, " -- Error file endianness."},
      {"lower-case mark", WithMark('l'), 0, 10, nullptr, " -- Error file endianness."},
      {"nothing", {}, 0, 10, nullptr, " -- Error file endianness."},
      {"mark alone", Hex("4C"), 3, 3, kVersionError, kVersionError},
      {"half a version", Hex("4C 0100"), 3, 3, kVersionError, kVersionError},
      {"version 2", WithWord(kGolden, kVersion, 2), 3, 3, kVersionError, kVersionError},
      {"version 0", WithWord(kGolden, kVersion, 0), 3, 3, kVersionError, kVersionError},
      {"version with the other byte order", WithWord(kGolden, kVersion, 1 << 24), 3, 3,
       kVersionError, kVersionError},
      {"most layers", WithWord(kGolden, kLayers, INT32_MAX), 9, 9, kDataError, kDataError},
      {"rows", WithWord(kGolden, kPosHardware, INT32_MAX), 9, 9, kDataError, kDataError},
      {"depth", WithWord(kGolden, kFirstRed + 8, -1), 9, 9, kDataError, kDataError},
      {"channels", WithWord(kGolden, kFirstRed + 12, 513), 9, 9, kDataError, kDataError},
      {"channels of the last matrix", WithWord(kGolden, kFirstRed + size_t{5} * 24 + 12, 0), 9, 9,
       kDataError, kDataError},
  };
  const TempFolder folder;
  MultiLayerCoeff engine = GoldenEngine();
  const uint8_t address = 0;
  for (const auto& [name, image, load, from_buffer, load_message, message] : cases) {
    SCOPED_TRACE(name);
    WriteFile(folder / "a.mlcoefs", image);
    LogRecorder log;
    EXPECT_EQ(engine.Load(folder / "a.mlcoefs"), load);
    if (load_message == nullptr) {
      EXPECT_THAT(log.TakeErrors(), IsEmpty());
    } else {
      EXPECT_THAT(log.TakeErrors(),
                  ElementsAre(std::string("MultiLayerCoeff::Load") + load_message));
    }
    EXPECT_EQ(engine.FromBuffer(image.empty() ? &address : image.data(), image.size()),
              from_buffer);
    EXPECT_THAT(log.TakeErrors(),
                ElementsAre(std::string("MultiLayerCoeff::FromBuffer") + message));
    EXPECT_EQ(ImageOf(engine), kGolden);
  }
}

TEST(CoefficientFile, WhatAShortStreamLacksIsZero) {
  const struct {
    const char* name;
    size_t length;
    cv::Mat last_blue;  // of layer 1
    cv::Mat last_green;
  } cases[] = {
      {"half a value", kGolden.size() - 2, Pair(-1, 0), Pair(5, 6)},
      {"no values", kGolden.size() - 8, Pair(0, 0), Pair(5, 6)},
      {"half a header", kGolden.size() - 16, {}, Pair(5, 6)},
      {"two matrices", kGolden.size() - size_t{2} * 24, {}, {}},
  };
  const TempFolder folder;
  for (const auto& [name, length, last_blue, last_green] : cases) {
    SCOPED_TRACE(name);
    const Image image(kGolden.begin(), kGolden.begin() + static_cast<ptrdiff_t>(length));
    WriteFile(folder / "a.mlcoefs", image);
    for (const char* operation : {"Load", "FromBuffer"}) {
      MultiLayerCoeff engine;
      LogRecorder log;
      EXPECT_EQ(*operation == 'L' ? engine.Load(folder / "a.mlcoefs") : Read(engine, image), 0);
      EXPECT_THAT(log.TakeErrors(), ElementsAre(std::string("MultiLayerCoeff::") + operation +
                                                " -- Data ends early, missing values are 0."));
      ASSERT_EQ(engine.coef_b.size(), 2U);
      EXPECT_TRUE(SameBits(engine.coef_b[1], last_blue));
      EXPECT_TRUE(SameBits(engine.coef_g[1], last_green));
      EXPECT_TRUE(SameBits(engine.coef_r[1], Pair(3, 4)));
    }
  }
}

TEST(CoefficientFile, BytesBehindTheEndAreIgnored) {
  Image image = kGolden;
  image.resize(image.size() + 100, 0xEE);
  MultiLayerCoeff engine;
  LogRecorder log;
  EXPECT_EQ(Read(engine, image), 0);
  EXPECT_THAT(log.TakeErrors(), IsEmpty());
  EXPECT_EQ(ImageOf(engine), kGolden);
}

}  // namespace
}  // namespace multilayer

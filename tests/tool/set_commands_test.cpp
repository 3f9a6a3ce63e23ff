// The subcommands for measurements and single-layer sets: the real binary against the library.
#include <algorithm>
#include <filesystem>
#include <iterator>
#include <limits>
#include <memory>
#include <sstream>

#include <gmock/gmock.h>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include "multilayer/coeff/chroma_coeff.h"
#include "multilayer/coeff/lum_coeff.h"
#include "tests/support/meters.h"
#include "tests/tool/process.h"
#include "tool/job.h"
#include "tool/measurements.h"

namespace multilayer::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr PartRecord kPart = {4, 0, 5, 3, 16, 9};

// Measurements of 5 x 3 LEDs, which differ, in a folder.
class SetCommandsTest : public ::testing::Test {
 protected:
  LedMeter Meter(const std::string& name, int32_t color, int32_t type, float value) {
    LedMeter meter = MakeMeter({kPart.w, kPart.h}, color, {0, 1, 255}, value);
    meter.type = type;
    *meter.part = kPart;
    for (int i = 0; i < 15; ++i) {
      meter.chroma.at<float>(i / 5, i % 5) += value / 100 * static_cast<float>(i * i % 7);
    }
    Save(name, meter);
    return meter;
  }
  template <class Object>
  void Save(const std::string& name, const Object& object) {
    ASSERT_EQ(object.Save(folder_.path() / name), 0);
  }
  template <class Object>
  Object Load(const std::string& name) {
    Object object;
    EXPECT_EQ(object.Load(folder_.path() / name), 0) << name;
    return object;
  }
  LumCoeff Lum(const std::string& name, const PartRecord& part, double factor) {
    LumCoeff set;
    set.part = part;
    set.coef_r = cv::Mat(part.h, part.w, CV_32FC1, cv::Scalar(factor));
    set.coef_g = set.coef_r * 2;
    set.coef_b = set.coef_r * 3;
    Save(name, set);
    return set;
  }
  ChromaCoeff Chroma(const std::string& name, const PartRecord& part, double share) {
    ChromaCoeff set;
    set.part = part;
    for (size_t k = 0; k < set.coef.size(); ++k) {
      set.coef[k] =
          cv::Mat(part.h, part.w, CV_32FC1, cv::Scalar(share / static_cast<double>(k + 1)));
    }
    Save(name, set);
    return set;
  }
  Result Run(const std::vector<std::string>& arguments) {
    return testing::Run(folder_.path(), arguments);
  }
  // A call that must be done; returns what it printed.
  std::string Done(const std::vector<std::string>& arguments) {
    const Result result = Run(arguments);
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return result.out;
  }

  TemporaryFolder folder_;
};

TEST_F(SetCommandsTest, MeanOfFilesAndOfAList) {
  Meter("a.meter", COLOR_RED, CIE_Y, 1);
  Meter("b.meter", COLOR_RED, CIE_Y, 2);
  fs::create_directory(folder_.path() / "more");
  Meter("more/c.meter", COLOR_RED, CIE_Y, 6);
  WriteFile(folder_.path() / "more" / "names.txt", "c.meter\r\n../b.meter\n");
  EXPECT_THAT(Done({"mean", "a.meter", "--list", "more/names.txt", "--output", "m.meter"}),
              HasSubstr("the mean of 3 measurements"));
  const auto mean = Load<LedMeter>("m.meter");
  LedMeter::MeterMean(
      {folder_.path() / "a.meter", folder_.path() / "more/c.meter", folder_.path() / "b.meter"}, 3,
      folder_.path() / "due.meter");
  EXPECT_TRUE(SameBits(mean.chroma, Load<LedMeter>("due.meter").chroma));
  EXPECT_FLOAT_EQ(mean.chroma.at<float>(0, 0), 3);
}

TEST_F(SetCommandsTest, RepairAndAlignChangeAFileInPlace) {
  LedMeter meter = Meter("a.meter", COLOR_RED, CIE_Y, 10);
  meter.state.at<uint8_t>(1, 2) = LED_DEAD;
  meter.chroma.at<float>(1, 2) = 0;
  Save("a.meter", meter);
  EXPECT_THAT(Done({"repair", "a.meter", "--output", "a.meter"}), HasSubstr("1 of 15 LEDs"));
  ASSERT_EQ(meter.FixDeadPoint(), 0);
  EXPECT_TRUE(SameBits(Load<LedMeter>("a.meter").chroma, meter.chroma));

  EXPECT_THAT(Done({"align", "a.meter", "--target", "20", "--output", "a.meter"}),
              HasSubstr(" 20.0000"));
  EXPECT_NEAR(cv::mean(Load<LedMeter>("a.meter").chroma)[0], 20, 1e-5);
  EXPECT_THAT(Done({"align", "a.meter", "--target", "7,30,9", "--point", "2,1", "--radius", "1",
                    "--output", "a.meter"}),
              HasSubstr("the disc     9"));
  const float target[] = {0, 20, 0};
  const int32_t point[] = {2, 1};
  const int32_t radius = 1;
  const float disc_target[] = {0, 30, 0};
  ASSERT_EQ(meter.Align(target, nullptr, nullptr), 0);
  ASSERT_EQ(meter.Align(disc_target, point, &radius), 0);
  EXPECT_TRUE(SameBits(Load<LedMeter>("a.meter").chroma, meter.chroma));
}

TEST_F(SetCommandsTest, PointsDrawsTheColumns) {
  LedMeter meter = Meter("a.meter", COLOR_RED, CIE_Y, 10);
  meter.pos = cv::Mat(3, 5, CV_32FC2, cv::Scalar(50, 7));
  meter.pos.at<cv::Vec2f>(2, 4)[0] = 100;
  Save("a.meter", meter);
  Done({"points", "a.meter", "--output", "p.png"});
  const cv::Mat image = cv::imread(folder_.path() / "p.png", cv::IMREAD_UNCHANGED);
  ASSERT_EQ(image.size(), cv::Size(5, 3));
  EXPECT_EQ(image.at<uint8_t>(2, 4), 255);
  EXPECT_NEAR(image.at<uint8_t>(0, 0), 127.5, 0.5);
}

// A dark LED gives an infinite factor: computed, saved, shown, merged and drawn, never refused.
TEST_F(SetCommandsTest, LuminanceSetOfThreeFilesInAnyOrder) {
  LedMeter red = Meter("r.meter", COLOR_RED, CIE_Y, 10);
  red.chroma.at<float>(0, 0) = 0;
  Save("r.meter", red);
  const LedMeter green = Meter("g.meter", COLOR_GREEN, CIE_Y, 20);
  const LedMeter blue = Meter("b.meter", COLOR_BLUE, CIE_Y, 5);
  EXPECT_THAT(Done({"compute-lum", "b.meter", "r.meter", "g.meter", "--luminance", "9,18,4.5",
                    "--output", "s.lumcoeff"}),
              AllOf(HasSubstr("5x3 LEDs at (4, 0)"), HasSubstr("non-finite")));
  LumCoeff due;
  const float init_y[] = {9, 0, 0, 18, 0, 0, 4.5F, 0, 0};
  ASSERT_EQ(due.Compute(init_y, &red, &green, &blue), 0);
  const auto set = Load<LumCoeff>("s.lumcoeff");
  EXPECT_TRUE(SameBits(set.coef_r, due.coef_r));
  EXPECT_TRUE(SameBits(set.coef_b, due.coef_b));
  EXPECT_EQ(set.part.x, 4);

  EXPECT_THAT(Done({"info", "s.lumcoeff"}), HasSubstr("sound"));
  Done({"merge", "s.lumcoeff", "s.lumcoeff", "--output", "m.lumcoeff"});
  ASSERT_EQ(due.Merge(&set), 0);
  EXPECT_TRUE(SameBits(Load<LumCoeff>("m.lumcoeff").coef_g, due.coef_g));
  Done({"assemble", "s.lumcoeff", "--output", "w.lumcoeff", "--picture", "w.png"});
  EXPECT_FALSE(cv::imread(folder_.path() / "w.png").empty());
}

TEST_F(SetCommandsTest, ChromaSetOfNineFilesInAnyOrder) {
  // XYZ of the primaries; the file of red's Z may be missing.
  constexpr float kXyz[3][3] = {{41, 21, 0}, {36, 72, 12}, {18, 7, 95}};
  std::vector<std::string> call = {"compute-chroma"};
  std::array<ChromaXYZ, 3> bundles;
  for (size_t colour = 3; colour-- > 0;) {
    std::array<LedMeter, 3> planes;
    for (size_t plane = 0; plane < 3; ++plane) {
      if (colour == 0 && plane == 2) {
        continue;
      }
      call.push_back(std::to_string(colour) + std::to_string(plane) + ".meter");
      planes[plane] =
          Meter(call.back(), tool::kColorCodes[colour], 1 << plane, kXyz[colour][plane]);
    }
    ASSERT_EQ(bundles[colour].Combine(&planes[0], &planes[1], colour == 0 ? nullptr : &planes[2]),
              0);
  }
  for (const char* argument :
       {"--red", "20,0.64,0.33", "--green", "70,0.3,0.6", "--blue", "7,0.15,0.06", "--white",
        "97,0.3127,0.329", "--weights", "1,1,1,1,1,1,1,1,1,2,1,1", "--output", "s.chromacoeff"}) {
    call.emplace_back(argument);
  }
  EXPECT_THAT(Done(call), AllOf(HasSubstr("all zeros: 0"), HasSubstr("green from red")));
  const float targets[] = {20, 0.64F, 0.33F, 70, 0.3F, 0.6F, 7, 0.15F, 0.06F, 97, 0.3127F, 0.329F};
  ChromaCoeff due;
  cv::Mat weights(4, 3, CV_32FC1, cv::Scalar(1));
  weights.at<float>(3, 0) = 2;
  ASSERT_EQ(due.SetPara(weights, 0, 0, 0), 0);
  ASSERT_EQ(due.Compute(targets, bundles[0], bundles[1], bundles[2], kPart), 0);
  const auto set = Load<ChromaCoeff>("s.chromacoeff");
  for (size_t k = 0; k < due.coef.size(); ++k) {
    EXPECT_TRUE(SameBits(set.coef[k], due.coef[k])) << k;
  }
}

// The whole road, on a simulated wall of two partitions; an LED with a dead primary stays alone.
TEST_F(SetCommandsTest, GamutFindsWhatEveryLedCanMix) {
  Done({"simulate", "w", "--width", "40", "--height", "30", "--partitions", "2x1", "--primaries"});
  std::vector<std::string> gamut = {"gamut"};
  std::vector<std::string> compute = {"compute-chroma"};
  for (const char* name :
       {"red_x", "red_y", "red_z", "green_x", "green_y", "green_z", "blue_x", "blue_y", "blue_z"}) {
    for (std::string file : {"w/p01_", "w/p00_"}) {
      gamut.push_back(file.append(name).append("_255.meter"));
    }
    compute.push_back(gamut.back());
  }
  auto dead = Load<LedMeter>("w/p00_green_z_255.meter");
  dead.state.at<uint8_t>(7, 9) |= LED_DEAD;
  Save("w/p00_green_z_255.meter", dead);
  std::istringstream targets(Done(gamut));
  compute.insert(compute.end(), std::istream_iterator<std::string>(targets), {});
  compute.insert(compute.end(), {"--output", "s.chromacoeff"});
  EXPECT_THAT(Done(compute), HasSubstr("dead and not corrected: 1;"));
  const auto set = Load<ChromaCoeff>("s.chromacoeff");
  double drive = 0;
  for (size_t k = 0; k < set.coef.size(); ++k) {
    EXPECT_EQ(set.coef[k].at<float>(7, 9), k % 4 == 0 ? 1.0F : 0.0F);
    double least = 0;
    cv::minMaxLoc(set.coef[k], &least);
    EXPECT_GT(least, -1e-4) << "a share that no LED has";
    drive = std::max(drive, static_cast<double>(set.coef[k].at<float>(3, 3)));
  }
  EXPECT_TRUE(drive > 0.5 && drive <= 1.0);
}

TEST_F(SetCommandsTest, CombineSaysWhatItBlends) {
  // Four rows of two sets that overlap by one column and, as the seam counts, by three rows.
  LumCoeff a = Lum("a.lumcoeff", {0, 0, 2, 4, 16, 9}, 1);
  LumCoeff b = Lum("b.lumcoeff", {1, 0, 2, 4, 16, 9}, 2);
  const LumCoeff c = Lum("c.lumcoeff", {3, 4, 2, 4, 16, 9}, 3);
  EXPECT_THAT(Done({"combine", "a.lumcoeff", "b.lumcoeff", "--output", "two"}),
              AllOf(HasSubstr("3 rows"), HasSubstr("1 of 1 pair blended")));
  ASSERT_EQ(LumCoeff::CombineDaul(&a, &b), 0);
  EXPECT_TRUE(SameBits(Load<LumCoeff>("two/a.lumcoeff").coef_g, a.coef_g));
  EXPECT_TRUE(SameBits(Load<LumCoeff>("two/b.lumcoeff").coef_g, b.coef_g));

  Lum("d.lumcoeff", {1, 0, 2, 4, 16, 9}, 2);
  EXPECT_THAT(Done({"combine", "c.lumcoeff", "a.lumcoeff", "d.lumcoeff", "--output", "three"}),
              HasSubstr("0 of 1 pair blended"));
  EXPECT_TRUE(SameBits(Load<LumCoeff>("three/c.lumcoeff").coef_r, c.coef_r));

  ChromaCoeff e = Chroma("e.chromacoeff", {0, 0, 4, 2, 16, 9}, 1);
  ChromaCoeff f = Chroma("f.chromacoeff", {0, 2, 4, 2, 16, 9}, 2);
  EXPECT_THAT(Done({"combine", "f.chromacoeff", "e.chromacoeff", "--output", "two"}),
              HasSubstr("2 columns"));
  ASSERT_EQ(ChromaCoeff::CombineDaul(&f, &e), 0);
  EXPECT_TRUE(SameBits(Load<ChromaCoeff>("two/e.chromacoeff").coef[8], e.coef[8]));
  EXPECT_TRUE(SameBits(Load<ChromaCoeff>("two/f.chromacoeff").coef[8], f.coef[8]));
}

TEST_F(SetCommandsTest, AssembleJoinsTheScreenAndDrawsIt) {
  Lum("a.lumcoeff", {0, 0, 4, 2, 16, 9}, 1);
  Lum("b.lumcoeff", {4, 0, 4, 2, 16, 9}, 1.1);
  EXPECT_THAT(Done({"assemble", "a.lumcoeff", "b.lumcoeff", "--output", "w.lumcoeff", "--picture",
                    "w.png"}),
              HasSubstr("2 sets, 8x2 LEDs at (0, 0)"));
  const auto whole = Load<LumCoeff>("w.lumcoeff");
  EXPECT_EQ(whole.coef_g.at<float>(1, 3), 2.0F);
  EXPECT_EQ(whole.coef_g.at<float>(1, 4), 2.2F);

  Chroma("a.chromacoeff", {4, 0, 4, 2, 16, 9}, 1);
  Done({"assemble", "a.chromacoeff", "--output", "w.chromacoeff", "--picture", "c.png"});
  EXPECT_GT(cv::imread(folder_.path() / "c.png").cols, 3 * 320);
}

// A call, its exit code and its message. None leaves a file behind.
TEST_F(SetCommandsTest, Refusals) {
  Meter("r.meter", COLOR_RED, CIE_Y, 10);
  Meter("g.meter", COLOR_GREEN, CIE_Y, 10);
  Meter("b.meter", COLOR_BLUE, CIE_Y, 10);
  Meter("x.meter", COLOR_BLUE, CIE_X, 10);
  Meter("0.meter", COLOR_BLUE, CIE_Y, 0);
  LedMeter elsewhere = Meter("e.meter", COLOR_BLUE, CIE_Y, 10);
  elsewhere.part->x = 5;
  Save("e.meter", elsewhere);
  LedMeter darker = Meter("d.meter", COLOR_BLUE, CIE_Y, 10);
  darker.layer->value = 64;
  Save("d.meter", darker);
  WriteFile(folder_.path() / "cut.meter", ReadFile(folder_.path() / "r.meter").substr(0, 100));
  WriteFile(folder_.path() / "names.txt", "r.meter\n\nr.meter\n");
  Lum("a.lumcoeff", {0, 0, 4, 2, 16, 9}, 1);
  Lum("f.lumcoeff", {0, 2, 4, 2, 16, 9}, 1);
  Lum("s.lumcoeff", {4, 0, 4, 2, 32, 9}, 1);
  Chroma("a.chromacoeff", {0, 0, 4, 2, 16, 9}, 1);
  const auto chroma = [](const std::string& red, const std::string& weights) {
    return std::vector<std::string>{
        "compute-chroma", "1.meter",  "2.meter",      "3.meter", "4.meter",   "5.meter",
        "6.meter",        "7.meter",  "8.meter",      "--red",   red,         "--green",
        "1,0.3,0.6",      "--blue",   "1,0.1,0.1",    "--white", "1,0.3,0.3", "--weights",
        weights,          "--output", "o.chromacoeff"};
  };
  const std::string ones = "1,1,1,1,1,1,1,1,1,1,1,1";
  const std::tuple<std::vector<std::string>, int, const char*> cases[] = {
      {{"mean", "--output", "o.meter"}, 2, "there is no measurement to take the mean of"},
      {{"mean", "r.meter", "--output", "o.txt"}, 2, "o.txt must end with .meter"},
      {{"mean", "r.meter", "g.meter", "--output", "o.meter"},
       1,
       "g.meter: color is 2: must be 4, as in r.meter"},
      {{"mean", "b.meter", "d.meter", "--output", "o.meter"}, 1, "layer.value is 64: must be 255"},
      {{"mean", "r.meter", "cut.meter", "--output", "o.meter"}, 3, "cut.meter: byte "},
      {{"mean", "--list", "names.txt", "--output", "o.meter"}, 3, "names.txt: line 2 is empty"},
      {{"mean", "--list", "none.txt", "--output", "o.meter"}, 4, "none.txt: cannot be opened"},
      {{"repair", "none.meter", "--output", "o.meter"}, 4, "none.meter: cannot be opened"},
      {{"align", "r.meter", "--target", "1,2", "--output", "o.meter"},
       2,
       "--target is 1,2: must be 3 numbers"},
      {{"align", "r.meter", "--target", "1,0,1", "--output", "o.meter"}, 2, "must be above 0"},
      {{"align", "r.meter", "--target", "nan", "--output", "o.meter"}, 2, "must be 1 number"},
      {{"align", "r.meter", "--target", "1", "--radius", "1", "--output", "o.meter"}, 2, "--point"},
      {{"align", "r.meter", "--target", "1", "--point", "0,1", "--radius", "1", "--output",
        "o.meter"},
       1,
       "r.meter: --point 0,1 with --radius 1 leaves the 5x3 LEDs"},
      {{"align", "0.meter", "--target", "1", "--output", "o.meter"}, 1, "mean of 0.0000 cannot"},
      {{"points", "r.meter", "--output", "o.png"}, 1, "r.meter: has no positions"},
      {{"compute-lum", "r.meter", "g.meter", "--luminance", "1,1,1", "--output", "o.lumcoeff"},
       2,
       "files"},
      {{"compute-lum", "r.meter", "g.meter", "b.meter", "--luminance", "1,-1,1", "--output",
        "o.lumcoeff"},
       2,
       "--luminance is 1,-1,1: must be above 0"},
      {{"compute-lum", "r.meter", "g.meter", "r.meter", "--luminance", "1,1,1", "--output",
        "o.lumcoeff"},
       1,
       "r.meter: is CIE Y of red: must be there only once"},
      {{"compute-lum", "r.meter", "g.meter", "x.meter", "--luminance", "1,1,1", "--output",
        "o.lumcoeff"},
       1,
       "x.meter: type is 1: must be 2 (CIE Y)"},
      {{"compute-lum", "r.meter", "g.meter", "e.meter", "--luminance", "1,1,1", "--output",
        "o.lumcoeff"},
       1,
       "e.meter: part differs from r.meter"},
      {chroma("1,0.7,0.4", ones), 2, "--red is 1,0.7,0.4: must be a luminance above 0"},
      {chroma("1,0.7,0.3", "1,2"), 2, "--weights is 1,2: must be 12 numbers"},
      {chroma("1,0.7,0.3", "-1,1,1,1,1,1,1,1,1,1,1,1"), 2, "must be 0 or more"},
      {{"merge", "a.lumcoeff", "a.chromacoeff", "--output", "o.lumcoeff"},
       2,
       "a.chromacoeff must end with .lumcoeff"},
      {{"merge", "a.chromacoeff", "a.lumcoeff", "--output", "o.lumcoeff"},
       2,
       "o.lumcoeff must end with .chromacoeff"},
      {{"merge", "a.lumcoeff", "f.lumcoeff", "--output", "o.lumcoeff"},
       1,
       "f.lumcoeff: covers 4x2 LEDs at (0, 2): must be the 4x2 LEDs at (0, 0)"},
      {{"combine", "a.lumcoeff", "--output", "o"}, 2, "two sets or more"},
      {{"combine", "a.lumcoeff", "a.chromacoeff", "--output", "o"}, 2, "must end with .lumcoeff"},
      {{"combine", "a.lumcoeff", "f.lumcoeff", "--output", "."}, 2, "a.lumcoeff is an input"},
      {{"combine", "a.lumcoeff", "./a.lumcoeff", "--output", "o"}, 2, "would be written twice"},
      {{"combine", "a.lumcoeff", "f.lumcoeff", "--output", "o"},
       1,
       "f.lumcoeff: 4x2 LEDs at (0, 2) are no neighbour of the 4x2 LEDs at (0, 0) of a.lumcoeff"},
      {{"assemble", "a.lumcoeff", "s.lumcoeff", "--output", "o.lumcoeff"},
       1,
       "s.lumcoeff: the screen is 32x9: must be 16x9, as in a.lumcoeff"},
      {{"assemble", "a.lumcoeff", "--output", "o.chromacoeff"}, 2, "must end with .lumcoeff"},
  };
  const size_t before = FilesWith(folder_.path(), "").size();
  for (const auto& [arguments, exit, message] : cases) {
    const Result result = Run(arguments);
    EXPECT_EQ(result.exit, exit) << message << "\n" << result.err;
    EXPECT_THAT(result.err, HasSubstr(message));
    EXPECT_EQ(result.out, "") << message;
    EXPECT_EQ(FilesWith(folder_.path(), "").size(), before) << message;
  }
}

// Every set gets its name, or none.
TEST_F(SetCommandsTest, CombineWritesAllSetsOrNone) {
  Lum("a.lumcoeff", {0, 0, 40, 40, 80, 80}, 1);
  Lum("b.lumcoeff", {40, 0, 40, 40, 80, 80}, 1);
  Lum("c.lumcoeff", {0, 40, 80, 40, 80, 80}, 1);
  Surroundings small;
  small.file_size_limit = 25000;  // the first two fit, the third does not
  const Result result =
      testing::Run(folder_.path(),
                   {"combine", "a.lumcoeff", "b.lumcoeff", "c.lumcoeff", "--output", "o"}, small);
  EXPECT_EQ(result.exit, 4);
  EXPECT_THAT(result.err, HasSubstr("bytes could be written: is the disk full?"));
  EXPECT_THAT(FilesWith(folder_.path() / "o", ""), IsEmpty());
}

}  // namespace
}  // namespace multilayer::testing

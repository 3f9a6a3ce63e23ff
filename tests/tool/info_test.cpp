// The strict scan: sound files pass, and no damage crashes it or slips through where it can be
// seen.
#include <initializer_list>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <tuple>

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include "multilayer/color/white_coeff.h"
#include "multilayer/meter/led_meter.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "tests/support/meters.h"
#include "tests/tool/process.h"
#include "tool/scan.h"

namespace multilayer::tool {
namespace {

using ::testing::HasSubstr;
using testing::ReadFile;
using testing::TemporaryFolder;
using testing::WriteFile;

class ScanTest : public ::testing::Test {
 protected:
  std::string Meter() {
    LedMeter meter = testing::MakeMeter({3, 2}, COLOR_GREEN, {0, 0.5F, 128}, 10.0F);
    meter.panel = std::make_unique<PanelRecord>(PanelRecord{0, 0, 0, 3, 2, 1.5F});
    meter.capture = std::make_unique<CaptureRecord>();
    meter.pos = cv::Mat(2, 3, CV_32FC2, cv::Scalar::all(4));
    EXPECT_EQ(meter.Save(folder_.path() / "a.meter"), 0);
    return ReadFile(folder_.path() / "a.meter");
  }

  std::string Coefficients() {
    MultiLayerCoeff engine;
    engine.part_x_y_w_h = {4, 0, 3, 2, 16, 9};
    engine.capture_layer_num = 2;
    engine.coef_layer_num = 2;
    engine.bit_width = 16;
    engine.rgb_lum_dec_ratio = {0.1, 0.2, 0.3};
    engine.pos_hardware = (cv::Mat_<int32_t>(3, 2) << 100, 200, 100, 200, 100, 200);
    engine.coef_r.assign(2, cv::Mat(2, 3, CV_32FC1, cv::Scalar(1.0)));
    engine.coef_g.assign(2, cv::Mat(2, 3, CV_32FC1, cv::Scalar(0.5)));
    engine.coef_b = engine.coef_r;
    EXPECT_EQ(engine.Save(folder_.path() / "a.mlcoefs"), 0);
    return ReadFile(folder_.path() / "a.mlcoefs");
  }

  std::string White() {
    WhiteCoeff white;
    white.coef_r = cv::Mat(2, 3, CV_32FC1, cv::Scalar(1.0));
    white.coef_g = white.coef_r * 0.5;
    white.coef_b = white.coef_r;
    white.part = {4, 0, 3, 2, 16, 9};
    white.singular_count = 1;
    EXPECT_EQ(white.Save(folder_.path() / "a.whitecoeff"), 0);
    return ReadFile(folder_.path() / "a.whitecoeff");
  }

  FileReport ScanBytes(const std::string& name, const std::string& bytes) {
    WriteFile(folder_.path() / name, bytes);
    return Scan(folder_.path() / name);
  }

  // `bytes` with a value written over it.
  template <class Value>
  static std::string With(std::string bytes, size_t offset, Value value) {
    const auto* first = reinterpret_cast<const char*>(&value);
    for (size_t i = 0; i < sizeof value; ++i) {
      bytes.at(offset + i) = first[i];
    }
    return bytes;
  }

  TemporaryFolder folder_;
};

TEST_F(ScanTest, SoundFilesAreSound) {
  const FileReport meter = ScanBytes("a.meter", Meter());
  EXPECT_EQ(meter.problem, "");
  EXPECT_EQ(meter.header["layer.value"], 128);
  ASSERT_EQ(meter.matrices.size(), 3U);
  EXPECT_EQ(meter.matrices[2].mean, 10);

  const FileReport coefs = ScanBytes("a.mlcoefs", Coefficients());
  EXPECT_EQ(coefs.problem, "");
  ASSERT_EQ(coefs.matrices.size(), 6U);
  EXPECT_EQ(coefs.matrices[0].ones, 6U);
  EXPECT_EQ(coefs.matrices[1].name, "green 0");
  EXPECT_EQ(coefs.matrices[1].max, 0.5);

  const FileReport white = ScanBytes("a.whitecoeff", White());
  EXPECT_EQ(white.problem, "");
  EXPECT_EQ(white.header["singular_count"], 1);
  EXPECT_EQ(white.header["part.x"], 4);
  ASSERT_EQ(white.matrices.size(), 3U);
  EXPECT_EQ(white.matrices[1].mean, 0.5);
}

TEST_F(ScanTest, EveryPrefixAndEveryTailIsBroken) {
  for (const auto& [name, bytes] : std::map<std::string, std::string>{
           {"a.meter", Meter()}, {"a.mlcoefs", Coefficients()}, {"a.whitecoeff", White()}}) {
    for (size_t length = 0; length < bytes.size(); ++length) {
      EXPECT_THAT(ScanBytes(name, bytes.substr(0, length)).problem,
                  HasSubstr("the file ends after"))
          << name << " of " << length;
    }
    EXPECT_THAT(ScanBytes(name, bytes + "x").problem, HasSubstr("1 bytes follow the last field"));
  }
}

// Whatever a byte is replaced by, the scan comes to a verdict; the library must be able to load
// what the scan calls sound, and the header bytes that have one right value are watched.
TEST_F(ScanTest, OverwrittenBytesGetAVerdict) {
  const std::string coefs = Coefficients();
  const std::string meter = Meter();
  for (const uint8_t value : std::initializer_list<uint8_t>{0x00, 0x7F, 0xFF}) {
    for (size_t i = 0; i < coefs.size(); ++i) {
      const FileReport report = ScanBytes("a.mlcoefs", With(coefs, i, value));
      MultiLayerCoeff engine;
      if (report.problem.empty()) {
        EXPECT_EQ(engine.Load(folder_.path() / "a.mlcoefs"), 0) << i;
      }
      const bool fixed = i < 5 || (i >= 13 && i < 21) || (i >= 33 && i < 37) ||
                         (i >= 65 && i < 81) || (i >= 105 && i < 121);
      EXPECT_EQ(fixed && report.problem.empty(), fixed && coefs[i] == static_cast<char>(value))
          << "byte " << i << " = " << int{value};
    }
    for (size_t i = 0; i < meter.size(); ++i) {
      LedMeter loaded;
      if (ScanBytes("a.meter", With(meter, i, value)).problem.empty()) {
        EXPECT_EQ(loaded.Load(folder_.path() / "a.meter"), 0) << i;
      }
    }
  }
}

TEST_F(ScanTest, NamesByteFieldValueAndRule) {
  const std::string c = Coefficients();
  const std::string m = Meter();
  const std::string w = White();
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  // Offsets: the coefficients' first matrix begins at 105; the measurement's state at 13 is 16 + 6
  // bytes, its pos 16 + 48, its chroma 16 + 24, the part's tag stands at 139.
  const std::tuple<const char*, std::string, const char*> cases[] = {
      {"a.mlcoefs", With(c, 0, 'M'), "byte 0, byte-order mark is 77: must be 76"},
      {"a.mlcoefs", With(c, 1, 2), "byte 1, version is 2: must be 1 to 1"},
      {"a.mlcoefs", With(c, 5, 14), "byte 21, part.screen_w is 16: must be at least 17"},
      {"a.mlcoefs", With(c, 13, 0), "byte 13, part.w is 0: must be 1 or more"},
      {"a.mlcoefs", With(c, 37, 25), "byte 37, bit_width is 25: must be 16 to 24"},
      {"a.mlcoefs", With(c, 41, 1.0),
       "byte 41, lum_dec_ratio.red is 1: must be finite and below 1"},
      {"a.mlcoefs", With(c, 85, 100), "is 100: must be above the position before it, 100"},
      {"a.mlcoefs", With(c, 89, 99), "is 99: must be equal in all three rows"},
      {"a.mlcoefs", With(c, 105, 3), "byte 105, red 0.rows is 3: must be 2"},
      {"a.mlcoefs", With(c, 113, 6), "byte 113, red 0.type is 6: must be 5"},
      {"a.mlcoefs", With(c, 125, kNan), "byte 125, red 0 holds nan: every value must be finite"},
      {"a.whitecoeff", With(w, 5, -1), "byte 5, singular_count is -1: must be 0 or more"},
      {"a.whitecoeff", With(w, 5, 7), "singular_count is 7: must be at most the 6 LEDs"},
      {"a.whitecoeff", With(w, 49, 3), "byte 49, green.rows is 3: must be 2"},
      {"a.whitecoeff", With(w, 25, kNan), "byte 25, red holds nan: every value must be finite"},
      {"a.whitecoeff", With(w, 137, 2), "part is 2 x 2: must be the 3 x 2 LEDs of red"},
      {"a.meter", With(m, 5, 3), "byte 5, color is 3: must be 1 (blue), 2 (green) or 4 (red)"},
      {"a.meter", With(m, 9, 7), "byte 9, type is 7: must be"},
      {"a.meter", With(m, 13, 0), "byte 13, state.rows is 0: must be 1 or more"},
      {"a.meter", With(m, 13, 2147483647), "state"},
      {"a.meter", With(m, 115, kNan), "byte 115, chroma holds nan: every value must be finite"},
      {"a.meter", With(m, 139, 64), "byte 139, tag is 64: must be 2, 4, 8, 16 or -1"},
      {"a.meter", With(m, 167, 4), "byte 167, tag is 4: must be there only once"},
      {"a.meter", With(m, 151, 2), "must be the 3 x 2 LEDs of chroma"},
  };
  for (const auto& [name, bytes, problem] : cases) {
    EXPECT_THAT(ScanBytes(name, bytes).problem, HasSubstr(problem));
  }
}

TEST_F(ScanTest, CountsEveryValueThatIsNotFinite) {
  std::string bytes = Coefficients();
  for (const size_t offset : {121U, 125U, 129U}) {
    bytes = With(bytes, offset, std::numeric_limits<float>::infinity());
  }
  const FileReport report = ScanBytes("a.mlcoefs", bytes);
  ASSERT_EQ(report.matrices.size(), 6U);
  EXPECT_EQ(report.matrices[0].non_finite, 3U);
  EXPECT_EQ(report.matrices[0].max, 1.0);
}

// Counts that would ask for gigabytes end at the file's own length.
TEST_F(ScanTest, HostileSizesCostNothing) {
  std::string bytes = Meter();
  bytes = With(With(bytes, 13, 16384), 17, 32767);
  EXPECT_THAT(ScanBytes("a.meter", bytes).problem, HasSubstr("more are due here"));
}

TEST_F(ScanTest, InfoTakesBinaryMatricesWhenTold) {
  const std::string mark = "L";
  const auto integers = [](std::initializer_list<int32_t> values) {
    return std::string(reinterpret_cast<const char*>(values.begin()), 4 * values.size());
  };
  const std::tuple<std::string, int, const char*> cases[] = {
      {mark + integers({0, 0, 0, 0}), 0, "empty"},
      {mark + integers({2, 2, CV_8UC3, 3}) + std::string(12, '\x01'), 0, "CV_8UC3"},
      {mark + integers({1, 1, CV_64FC1, 1}) + std::string(8, '\xFF'), 0, "sound"},
      {mark + integers({1, 2, CV_16FC1, 1}) + std::string("\0\x3C\0\x40", 4), 0, "1.500000"},
      {mark + integers({1, 1, CV_32FC1, 2}) + std::string(4, '\0'), 3,
       "matrix.channels is 2: must be 1"},
      {mark + integers({1, 1, 4096, 1}), 3, "matrix.type is 4096: must be 0 to 4095"},
      {mark + integers({1, 1, CV_8UC1, 1}), 3, "the file ends after 17 bytes"},
      {mark + integers({1, 1, CV_8UC1, 1}) + "ab", 3, "1 bytes follow the last field"},
      {mark + integers({0, 3, 0, 0}), 3, "matrix.cols is 3: must be 0 in an empty matrix"},
      {std::string("M").append(integers({0, 0, 0, 0})), 3, "byte-order mark is 77"},
  };
  for (const auto& [bytes, exit, text] : cases) {
    WriteFile(folder_.path() / "m.bin", bytes);
    const testing::Result result = testing::Run(folder_.path(), {"info", "--matrix", "m.bin"});
    EXPECT_EQ(result.exit, exit) << text;
    EXPECT_THAT(result.out, HasSubstr(text));
  }
}

}  // namespace
}  // namespace multilayer::tool

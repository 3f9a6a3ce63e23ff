// The colour of light: chromaticities of the primaries, and that they are the LED's own.
#include "simulation/colour.h"

#include <cmath>

#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include "simulation/measure.h"
#include "tests/support/meters.h"

namespace multilayer::simulation {
namespace {

using multilayer::testing::SameBits;

std::array<double, 2> Chromaticity(const Colours::Ratio& ratio) {
  const double sum = ratio.x + 1.0 + ratio.z;
  return {ratio.x / sum, 1.0 / sum};
}

TEST(Colours, NominalPrimariesAreThoseOfRealWalls) {
  const Colours colours((WallParameters()));
  const std::array<double, 2> real[] = {{0.69, 0.31}, {0.18, 0.72}, {0.135, 0.06}};
  for (size_t primary = 0; primary < 3; ++primary) {
    const std::array<double, 2> xy = Chromaticity(colours.At(primary, 0.0));
    EXPECT_NEAR(xy[0], real[primary][0], 0.006);
    EXPECT_NEAR(xy[1], real[primary][1], 0.006);
  }
}

// Narrow lines lie on the spectral locus, which the standard tabulates: 620, 520 and 460 nm. The
// fit is within 0.01 of it, but for green, whose edge is steep.
TEST(Colours, NarrowLinesLieOnTheSpectralLocus) {
  WallParameters wall;
  wall.wavelength = {620.0, 520.0, 460.0};
  wall.spectrum_width = {1.0, 1.0, 1.0};
  wall.foot_share = 0.0;
  const Colours colours(wall);
  const std::array<double, 2> locus[] = {{0.6915, 0.3083}, {0.0743, 0.8338}, {0.1440, 0.0297}};
  for (size_t primary = 0; primary < 3; ++primary) {
    const std::array<double, 2> xy = Chromaticity(colours.At(primary, 0.0));
    EXPECT_NEAR(xy[0], locus[primary][0], 0.02);
    EXPECT_NEAR(xy[1], locus[primary][1], 0.02);
  }
}

// Halfway between two entries of the table, where straight lines are furthest off.
TEST(Colours, TableIsFineEnough) {
  const Colours table((WallParameters()));
  for (const double shift : {-5.125, -0.125, 0.125, 2.375}) {
    WallParameters wall;
    for (double& wavelength : wall.wavelength) {
      wavelength += shift;
    }
    const Colours exact(wall);
    for (size_t primary = 0; primary < 3; ++primary) {
      const Colours::Ratio a = table.At(primary, shift);
      const Colours::Ratio b = exact.At(primary, 0.0);
      EXPECT_NEAR(a.x, b.x, 5e-5 * b.x);
      EXPECT_NEAR(a.z, b.z, 5e-5 * b.z);
    }
  }
}

TEST(Colours, AreTheLedsOwnHoweverTheScreenIsDivided) {
  const WallParameters wall;
  const Colours colours(wall);
  const PartRecord first = {30, 40, 100, 90, 320, 180};
  const PartRecord second = {75, 58, 130, 70, 320, 180};
  const cv::Rect a(first.x, first.y, first.w, first.h);
  const cv::Rect b(second.x, second.y, second.w, second.h);
  const PartitionTruth one = MakePartition(wall, first);
  const PartitionTruth two = MakePartition(wall, second);
  for (size_t primary = 0; primary < 3; ++primary) {
    const cv::Mat& luminance = one.primaries[primary].luminance;
    const Tristimulus left = colours.Of(primary, one.primaries[primary], luminance);
    const Tristimulus right =
        colours.Of(primary, two.primaries[primary], two.primaries[primary].luminance);
    EXPECT_EQ(left[1].data, luminance.data);
    for (size_t plane = 0; plane < 3; ++plane) {
      EXPECT_TRUE(SameBits(left[plane]((a & b) - a.tl()), right[plane]((a & b) - b.tl())));
    }
    const double shift = one.primaries[primary].wavelength_shift.at<double>(3, 4);
    EXPECT_GT(std::abs(shift), 0.01);
    EXPECT_EQ(left[0].at<double>(3, 4), luminance.at<double>(3, 4) * colours.At(primary, shift).x);
  }
}

TEST(Colours, WhiteIsTheSumOfThePrimariesAsDriven) {
  const WallParameters wall;
  const cv::Mat gamma_table = MakeGammaTable(256, 16, 2.2);
  const Scene scene = {wall, Controller(gamma_table, 16), Camera({})};
  const PartitionTruth truth = MakePartition(wall, {0, 0, 40, 30, 320, 180});
  Correction correction;
  for (size_t primary = 0; primary < 3; ++primary) {
    const float coef = 0.9F - 0.2F * static_cast<float>(primary);
    correction[primary] = {{0}, {cv::Mat(30, 40, CV_32FC1, cv::Scalar(coef))}};
  }
  const Tristimulus white = scene.ShineWhite(truth, 128, correction);
  double sum[3] = {};
  for (size_t primary = 0; primary < 3; ++primary) {
    const double y = scene.Shine(truth, primary, 128, correction).at<double>(7, 9);
    const Colours::Ratio ratio =
        scene.colours.At(primary, truth.primaries[primary].wavelength_shift.at<double>(7, 9));
    sum[0] += y * ratio.x;
    sum[1] += y;
    sum[2] += y * ratio.z;
  }
  for (size_t plane = 0; plane < 3; ++plane) {
    EXPECT_DOUBLE_EQ(white[plane].at<double>(7, 9), sum[plane]);
  }
}

// Every LED of an even wall gives the mean's electrons, in each type by its own exposure.
TEST(Colours, EveryChannelHasItsOwnNoise) {
  WallParameters wall;
  wall.led_luminance = wall.led_wavelength = wall.module_luminance = wall.module_wavelength = 0.0;
  wall.channel_luminance = wall.chip_luminance = wall.turn_on_spread = wall.droop_spread = 0.0;
  wall.dead_fraction = 0.0;
  const cv::Mat gamma_table = MakeGammaTable(256, 16, 2.2);
  const Scene scene = {wall, Controller(gamma_table, 16), Camera({})};
  const PartitionTruth truth = MakePartition(wall, WholeScreen(wall));
  const MeasuredColour white = scene.MeasureWhite(truth, 128);
  const MeasuredColour again = scene.MeasureWhite(truth, 128, {}, 1);
  const Tristimulus light = scene.ShineWhite(truth, 128, {});
  const int32_t types[] = {CIE_X, CIE_Y, CIE_Z};
  std::array<cv::Mat, 3> errors;
  for (size_t plane = 0; plane < 3; ++plane) {
    EXPECT_EQ(white[plane].type, types[plane]);
    EXPECT_EQ(white[plane].capture->filter, types[plane]);
    EXPECT_EQ(white[plane].color, COLOR_GREEN);
    EXPECT_FALSE(SameBits(white[plane].chroma, again[plane].chroma));
    white[plane].chroma.convertTo(errors[plane], CV_64F);
    errors[plane] = errors[plane] / light[plane] - 1.0;
    const double noise = scene.camera.RelativeNoise();
    const double count = static_cast<double>(errors[plane].total());
    EXPECT_NEAR(cv::mean(errors[plane])[0], 0.0, 5.0 * noise / std::sqrt(count));
    EXPECT_NEAR(cv::norm(errors[plane]) / std::sqrt(count), noise, 0.02 * noise);
    const double correlation = errors[plane].dot(errors[0]) / (noise * noise * count);
    EXPECT_NEAR(correlation, plane == 0 ? 1.0 : 0.0, 5.0 * std::sqrt(2.0 / count));
  }
}

}  // namespace
}  // namespace multilayer::simulation

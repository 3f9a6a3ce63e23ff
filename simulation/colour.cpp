// Spectra, the observer, and the table of chromaticities.
#include "simulation/colour.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace multilayer::simulation {
namespace {

constexpr int32_t kFirst = 360;  // nm; the observer is blind outside
constexpr int32_t kLast = 830;
constexpr double kRange = 20.0;  // nm of shift on either side
constexpr double kStep = 0.25;
constexpr size_t kEntries = 161;  // 2 kRange / kStep + 1

double Lobe(double at, double peak, double left, double right) {
  const double t = (at - peak) / (at < peak ? left : right);
  return std::exp(-0.5 * t * t);
}

struct Sensitivity {
  double x;
  double y;
  double z;
};

// The CIE 1931 2-degree observer in the multi-lobe fit of C. Wyman, P.-P. Sloan and P. Shirley,
// "Simple Analytic Approximations to the CIE XYZ Color Matching Functions", Journal of Computer
// Graphics Techniques 2(2), 2013.
Sensitivity Observer(double nm) {
  return {1.056 * Lobe(nm, 599.8, 37.9, 31.0) + 0.362 * Lobe(nm, 442.0, 16.0, 26.7) -
              0.065 * Lobe(nm, 501.1, 20.4, 26.2),
          0.821 * Lobe(nm, 568.8, 46.9, 40.5) + 0.286 * Lobe(nm, 530.9, 16.3, 31.1),
          1.217 * Lobe(nm, 437.0, 11.8, 36.0) + 0.681 * Lobe(nm, 459.0, 26.0, 13.8)};
}

std::vector<Sensitivity> TabulateObserver() {
  std::vector<Sensitivity> table;
  for (int32_t nm = kFirst; nm <= kLast; ++nm) {
    table.push_back(Observer(nm));
  }
  return table;
}

// A Gaussian of unit area, but for a constant.
double Bell(double distance, double full_width) {
  const double sigma = full_width / 2.354820045;  // 2 sqrt(2 ln 2)
  return Lobe(distance, 0.0, sigma, sigma) / full_width;
}

// Last bits of exp differ between processors; this far above them they do not.
double DropLastBits(double value) { return std::ldexp(std::round(std::ldexp(value, 36)), -36); }

Colours::Ratio Integrate(const WallParameters& wall, const std::vector<Sensitivity>& observer,
                         double peak, double width) {
  Sensitivity sum = {0.0, 0.0, 0.0};
  double nm = kFirst;
  for (const Sensitivity& seen : observer) {
    const double power = (1.0 - wall.foot_share) * Bell(nm - peak, width) +
                         wall.foot_share * Bell(nm - peak, wall.foot_width);
    sum.x += power * seen.x;
    sum.y += power * seen.y;
    sum.z += power * seen.z;
    nm += 1.0;
  }
  return {DropLastBits(sum.x / sum.y), DropLastBits(sum.z / sum.y)};
}

}  // namespace

std::array<double, 2> UvPrime(double x, double y, double z) {
  const double sum = x + 15.0 * y + 3.0 * z;
  return {4.0 * x / sum, 9.0 * y / sum};
}

Colours::Colours(const WallParameters& wall) {
  const std::vector<Sensitivity> observer = TabulateObserver();
  for (size_t primary = 0; primary < tables_.size(); ++primary) {
    for (size_t i = 0; i < kEntries; ++i) {
      const double shift = static_cast<double>(i) * kStep - kRange;
      tables_[primary].push_back(Integrate(wall, observer, wall.wavelength[primary] + shift,
                                           wall.spectrum_width[primary]));
    }
  }
}

Colours::Ratio Colours::At(size_t primary, double shift) const {
  const double place = (std::clamp(shift, -kRange, kRange) + kRange) / kStep;
  const size_t below = std::min(static_cast<size_t>(place), kEntries - 2);
  const double weight = place - static_cast<double>(below);
  const Ratio& low = tables_[primary][below];
  const Ratio& high = tables_[primary][below + 1];
  return {low.x + weight * (high.x - low.x), low.z + weight * (high.z - low.z)};
}

Tristimulus Colours::Of(size_t primary, const PrimaryTruth& truth, const cv::Mat& luminance) const {
  assert(luminance.type() == CV_64FC1 && luminance.size() == truth.wavelength_shift.size());
  Tristimulus colour = {cv::Mat(luminance.size(), CV_64FC1), luminance,
                        cv::Mat(luminance.size(), CV_64FC1)};
  for (int32_t row = 0; row < luminance.rows; ++row) {
    const double* const shift = truth.wavelength_shift.ptr<double>(row);
    const double* const y = luminance.ptr<double>(row);
    double* const x = colour[0].ptr<double>(row);
    double* const z = colour[2].ptr<double>(row);
    for (int32_t col = 0; col < luminance.cols; ++col) {
      const Ratio ratio = At(primary, shift[col]);
      x[col] = y[col] * ratio.x;
      z[col] = y[col] * ratio.z;
    }
  }
  return colour;
}

}  // namespace multilayer::simulation

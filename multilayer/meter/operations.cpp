// Operations on a complete measurement: repair, alignment, averaging, a picture of the positions.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <iterator>
#include <numeric>
#include <optional>
#include <strings.h>
#include <utility>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include "multilayer/io/fail.h"
#include "multilayer/meter/led_meter.h"
#include "pellix/pellix.h"

namespace multilayer {
namespace {

bool IsPlane(const cv::Mat& mat, int type) { return mat.type() == type && mat.dims == 2; }

void Scale(cv::Mat& plane, float factor) {
  for (int row = 0; row < plane.rows; ++row) {
    float* values = plane.ptr<float>(row);
    std::transform(values, values + plane.cols, values,
                   [factor](float value) { return value * factor; });
  }
}

float TargetOf(int32_t type, const float* target) {
  return type == CIE_X ? target[0] : type == CIE_Y ? target[1] : target[2];
}

// In double, in an order of our own: the matrix library's mean adds in that of its vector units.
// Column x counts to sum x mod 16, over all rows, so that an addition need not wait for the one
// before it; the sixteen are added in their order.
double MeanOf(const cv::Mat& plane) {
  constexpr int kSums = 16;
  double sums[kSums] = {};
  for (int row = 0; row < plane.rows; ++row) {
    const float* values = plane.ptr<float>(row);
    const int whole = plane.cols - plane.cols % kSums;
    for (int col = 0; col < whole; col += kSums) {
      for (int i = 0; i < kSums; ++i) {
        sums[i] += static_cast<double>(values[col + i]);
      }
    }
    for (int col = whole; col < plane.cols; ++col) {
      sums[col - whole] += static_cast<double>(values[col]);
    }
  }
  return std::accumulate(std::begin(sums), std::end(sums), 0.0) /
         static_cast<double>(plane.total());
}

// The mean over the LEDs within radius + 0.5 of (x, y), in single precision; none if the disc
// leaves the partition or holds no LED. It may reach one row and column beyond the last: what lies
// there does not count.
std::optional<float> MeanOfDisc(const cv::Mat& plane, int64_t x, int64_t y, int64_t radius) {
  if (x - radius < 0 || x + radius > plane.cols || y - radius < 0 || y + radius > plane.rows) {
    return std::nullopt;
  }
  float sum = 0;
  int64_t count = 0;
  for (int64_t row = y - radius; row <= std::min(y + radius, plane.rows - int64_t{1}); ++row) {
    const float* values = plane.ptr<float>(static_cast<int>(row));
    for (int64_t col = x - radius; col <= std::min(x + radius, plane.cols - int64_t{1}); ++col) {
      const int64_t dx = col - x;
      const int64_t dy = row - y;
      // sqrt(dx * dx + dy * dy) < radius + 0.5, in whole numbers.
      if (dx * dx + dy * dy <= radius * (radius + 1)) {
        sum += values[col];
        ++count;
      }
    }
  }
  return count > 0 ? std::optional(sum / static_cast<float>(count)) : std::nullopt;
}

// The writer throws at 8-bit values for OpenEXR, which holds none; a PNG, the widest of the others,
// has at most a million rows and columns. What follows a NUL would never reach the operating system.
bool CanWriteImage(const std::string& fullname, const cv::Mat& image) {
  return fullname.find('\0') == std::string::npos && cv::haveImageWriter(fullname) &&
         std::max(image.rows, image.cols) <= 1000000 &&
         strncasecmp(std::strrchr(fullname.c_str(), '.'), ".exr", 4) != 0;
}

// The first of `cols` LEDs, from `col` on, that is marked dead; `cols` if none is. Few are: eight
// are looked at together.
int NextDead(const uint8_t* states, int col, int cols) {
  constexpr uint64_t kAnyDead = LED_DEAD * 0x0101010101010101U;
  for (uint64_t word = 0; cols - col >= 8; col += 8) {
    std::memcpy(&word, states + col, sizeof(word));
    if ((word & kAnyDead) != 0) {
      break;
    }
  }
  while (col < cols && (states[col] & LED_DEAD) == 0) {
    ++col;
  }
  return col;
}

// The median of the 3 x 3 neighbourhood of an LED, the border repeated. NaN counts as the largest.
float MedianAround(const cv::Mat& plane, int row, int col) {
  std::array<float, 9> values;
  size_t count = 0;
  for (int r = row - 1; r <= row + 1; ++r) {
    const float* from = plane.ptr<float>(std::clamp(r, 0, plane.rows - 1));
    for (int c = col - 1; c <= col + 1; ++c) {
      values[count++] = from[std::clamp(c, 0, plane.cols - 1)];
    }
  }
  std::nth_element(values.begin(), values.begin() + 4, values.end(),
                   [](float a, float b) { return std::isnan(b) ? !std::isnan(a) : a < b; });
  return values[4];
}

// Dead LEDs of one row, and what they become.
using Repairs = std::vector<std::pair<float*, float>>;

Repairs FindRepairs(LedMeter& meter, int row) {
  cv::Mat& plane = meter.chroma;
  const auto* states = meter.state.ptr<uint8_t>(row);
  Repairs repairs;
  for (int col = NextDead(states, 0, plane.cols); col < plane.cols;
       col = NextDead(states, col + 1, plane.cols)) {
    repairs.emplace_back(plane.ptr<float>(row) + col, MedianAround(plane, row, col));
  }
  return repairs;
}

void Apply(const Repairs& repairs) {
  for (const auto& [value, median] : repairs) {
    *value = median;
  }
}

// Whether `next` can be averaged with `first`.
int32_t CheckMean(const LedMeter& first, const LedMeter& next) {
  if (next.color != first.color) {
    return Fail(9, "LedMeter::MeterMean--Error files are not in same color");
  }
  if (next.type != first.type) {
    return Fail(9, "LedMeter::MeterMean--Error files are not in same type");
  }
  if (!IsPlane(next.chroma, CV_32FC1)) {
    return Fail(9, "LedMeter::MeterMean--Error chroma is not a matrix of 32-bit floats");
  }
  if (next.chroma.size() != first.chroma.size()) {
    return Fail(9, "LedMeter::MeterMean--Error files are not in same size");
  }
  return 0;
}

}  // namespace

int32_t LedMeter::FixDeadPoint() {
  PellixInfo("LedMeter::FixDeadPoint");
  if (chroma.empty()) {
    return Fail(5, "LedMeter::Align--Error :: chroma empty");  // the one text of both operations
  }
  if (!IsPlane(chroma, CV_32FC1) || !IsPlane(state, CV_8UC1) || state.size() != chroma.size()) {
    return Fail(9, "LedMeter::FixDeadPoint--Error :: chroma and state are no planes of one size");
  }
  // All medians are those of the measurement as it was: a row changes when the one below it is done.
  Repairs above;
  for (int row = 0; row < chroma.rows; ++row) {
    Repairs here = FindRepairs(*this, row);
    Apply(above);
    above = std::move(here);
  }
  Apply(above);
  return 0;
}

int32_t LedMeter::Align(const float* target, const int32_t* point, const int32_t* radius) {
  PellixInfo("LedMeter::Align");
  if (chroma.empty()) {
    return Fail(5, "LedMeter::Align--Error :: chroma empty");
  }
  if (target == nullptr) {
    return Fail(1, "LedMeter::Align--Error :: input nullptr.");
  }
  if (!IsPlane(chroma, CV_32FC1)) {
    return Fail(9, "LedMeter::Align--Error :: chroma is not a matrix of 32-bit floats");
  }
  const float wanted = TargetOf(type, target);
  float factor = 0;
  if (point != nullptr && radius != nullptr) {
    const std::optional<float> mean = MeanOfDisc(chroma, point[0], point[1], *radius);
    if (!mean) {
      return Fail(405, "LedMeter::Align--Error :: in_point or in_radius is invalid");
    }
    factor = wanted / *mean;
  } else {
    factor = static_cast<float>(static_cast<double>(wanted) / MeanOf(chroma));
  }
  Scale(chroma, factor);
  return 0;
}

int32_t LedMeter::ExportPointImage(const std::string& fullname) const {
  PellixInfo("LedMeter::ExportPointImage");
  if (pos.empty()) {
    return Fail(5, "LedMeter::ExportPointImage--Error :: empty");
  }
  if (!IsPlane(pos, CV_32FC2)) {
    return Fail(9, "LedMeter::ExportPointImage--Error :: pos is not a matrix of points");
  }
  cv::Mat image;
  cv::extractChannel(pos, image, 0);
  cv::normalize(image, image, 255, 0, cv::NORM_INF, CV_8U);
  if (!CanWriteImage(fullname, image) || !cv::imwrite(fullname, image)) {
    return Fail(4, "LedMeter::ExportPointImage -- Failed to write image. fullname = %s",
                fullname.c_str());
  }
  return 0;
}

int32_t LedMeter::MeterMean(const std::vector<std::string>& fullnames, int32_t count,
                            const std::string& output) {
  if (fullnames.empty() || static_cast<int64_t>(fullnames.size()) != count) {
    return Fail(471, "LedMeter::MeterMean--Error in file num");
  }
  LedMeter mean;
  for (const std::string& fullname : fullnames) {
    if (fullname.empty()) {
      return 1;
    }
    // Made anew for each file: loading into the file before would hold three records at a time.
    LedMeter next;
    if (const int32_t status = next.Load(fullname); status != 0) {
      return status;
    }
    const bool first = mean.chroma.empty();
    if (const int32_t status = CheckMean(first ? next : mean, next); status != 0) {
      return status;
    }
    if (first) {
      mean = std::move(next);
    } else {
      cv::add(mean.chroma, next.chroma, mean.chroma);
    }
  }
  const double share = 1.0 / count;
  const auto scaled = [share](float sum) {
    return static_cast<float>(static_cast<double>(sum) * share);
  };
  float* values = mean.chroma.ptr<float>();  // continuous, as read
  std::transform(values, values + mean.chroma.total(), values, scaled);
  return mean.Save(output);
}

}  // namespace multilayer

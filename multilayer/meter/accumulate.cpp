// Measuring shot by shot: which shots a record takes, and where their values go.
#include <cstddef>
#include <utility>

#include <opencv2/core.hpp>

#include "multilayer/io/fail.h"
#include "multilayer/meter/led_meter.h"
#include "multilayer/shot/shot.h"
#include "pellix/pellix.h"

namespace multilayer {
namespace {

constexpr uint32_t kShotChecks =
    SHOT_CHECK_NOT_NULL | SHOT_CHECK_SINGLE_CHANNEL | SHOT_CHECK_COLOR | SHOT_CHECK_PATTERN;

int32_t FailNull() { return Fail(1, "LedMeter::CheckInput--Error :: input nullptr."); }

int32_t FailLighted() {
  return Fail(400, "LedMeter::CheckInput--Error :: mismatch lighted led width and height.");
}

// Matrices of more than two dimensions have no size in this sense.
bool HasSize(const cv::Mat& mat, int32_t rows, int32_t cols) {
  return mat.rows == rows && mat.cols == cols && mat.dims == 2;
}

bool SameSize(const cv::Mat& a, const cv::Mat& b) { return HasSize(a, b.rows, b.cols); }

bool IsPlane(const cv::Mat& mat, int type, int32_t rows, int32_t cols) {
  return mat.type() == type && HasSize(mat, rows, cols);
}

// Two matrices that were found in a shot's image, if they were. Headers of their own: those that were
// handed in may stand in the record that is about to change.
struct Found {
  explicit Found(const cv::Mat* pair)
      : given(pair != nullptr),
        first(given ? pair[0] : cv::Mat()),
        second(given ? pair[1] : first) {}

  bool given;
  cv::Mat first;
  cv::Mat second;
};

// What a shot brings.
struct Input {
  const Shot& shot;
  Found pos;
  Found chroma;

  // The matrix that has the shape of the lighted grid.
  const cv::Mat& lighted() const { return chroma.given ? chroma.second : pos.second; }
};

int32_t CheckShot(const Shot& shot) {
  if (shot.image.channels() == 3) {
    return Fail(403, "LedMeter::CheckInput--Error :: multi channels");
  }
  return Shot::Check(kShotChecks, &shot);
}

int32_t CheckMatrices(const Input& input) {
  for (const Found* found : {&input.pos, &input.chroma}) {
    if (found->given && (found->first.empty() || found->second.empty())) {
      return Fail(5, "LedMeter::CheckInput--Error :: inpute empty.");
    }
  }
  const PatternRecord& pattern = *input.shot.pattern;
  if (input.pos.given && input.chroma.given &&
      (!SameSize(input.chroma.second, input.pos.second) ||
       !HasSize(input.chroma.second, pattern.lighted_led_h, pattern.lighted_led_w))) {
    return FailLighted();
  }
  return 0;
}

// Whether a started record goes on with this input.
int32_t CheckSameSet(const LedMeter& meter, const Input& input) {
  if (input.pos.given == meter.pos.empty() || input.chroma.given == meter.chroma.empty()) {
    return Fail(404, "LedMeter::CheckInput--Error :: mismatch sequance.");
  }
  const Shot& shot = input.shot;
  // The matrices are the caller's to change, so that they are asked, not trusted.
  const auto holds = [&part = *shot.part](const cv::Mat& mat, int type) {
    return IsPlane(mat, type, part.h, part.w);
  };
  if (meter.color != *shot.color || meter.type != shot.type || !holds(meter.state, CV_8UC1) ||
      (input.pos.given && !holds(meter.pos, CV_32FC2)) ||
      (input.chroma.given && !holds(meter.chroma, CV_32FC1)) ||
      !IsPlane(meter.added, CV_8UC1, shot.pattern->interval_y, shot.pattern->interval_x)) {
    return Fail(102, "LedMeter::CheckInput--Error :: data not in same set.");
  }
  return 0;
}

// Whether a record of this partition and pattern can be made.
int32_t CheckSizes(const Shot& shot) {
  const PartRecord& part = *shot.part;
  const PatternRecord& pattern = *shot.pattern;
  if (part.w < 1 || part.h < 1 || int64_t{part.w} * part.h > kMaxLeds ||
      int64_t{pattern.interval_x} * pattern.interval_y > kMaxLeds) {
    return Fail(9, "LedMeter::CheckInput--Error :: partition or pattern interval size.");
  }
  return 0;
}

// Whether `count` LEDs, `interval` apart from `location` on, stay within `size`.
bool GridFits(int32_t location, int32_t interval, int32_t count, int32_t size) {
  return 0 <= location && location < interval &&
         location + (int64_t{count} - 1) * interval < int64_t{size};
}

// Whether the values can be copied as they are, to LEDs that exist.
int32_t CheckCopy(const Input& input) {
  if ((input.pos.given && input.pos.second.type() != CV_32FC2) ||
      (input.chroma.given &&
       (input.chroma.first.type() != CV_8UC1 || input.chroma.second.type() != CV_32FC1))) {
    return Fail(9, "LedMeter::CheckInput--Error :: input matrix type.");
  }
  if (input.chroma.given && !SameSize(input.chroma.first, input.chroma.second)) {
    return FailLighted();
  }
  const PatternRecord& pattern = *input.shot.pattern;
  const PartRecord& part = *input.shot.part;
  const cv::Mat& lighted = input.lighted();
  if (lighted.dims != 2 || !GridFits(pattern.loc_x, pattern.interval_x, lighted.cols, part.w) ||
      !GridFits(pattern.loc_y, pattern.interval_y, lighted.rows, part.h)) {
    return FailLighted();
  }
  return 0;
}

template <class Record>
std::unique_ptr<Record> Copy(const std::unique_ptr<Record>& record) {
  return record == nullptr ? nullptr : std::make_unique<Record>(*record);
}

// The record that the first shot begins. What has no input keeps the matrix of `before`.
LedMeter Begin(const LedMeter& before, const Input& input) {
  const Shot& shot = input.shot;
  const cv::Size size(shot.part->w, shot.part->h);
  LedMeter meter;
  meter.part = Copy(shot.part);
  meter.layer = Copy(shot.layer);
  meter.panel = Copy(shot.panel);
  meter.capture = Copy(shot.capture);
  meter.color = *shot.color;
  meter.type = shot.type;
  meter.state = cv::Mat::zeros(size, CV_8UC1);
  meter.pos = input.pos.given ? cv::Mat(cv::Mat::zeros(size, CV_32FC2)) : before.pos;
  meter.chroma = input.chroma.given ? cv::Mat(cv::Mat::zeros(size, CV_32FC1)) : before.chroma;
  meter.added = cv::Mat::ones(shot.pattern->interval_y, shot.pattern->interval_x, CV_8UC1);
  return meter;
}

// Copies `values`, one element a lighted LED, to the LEDs of `plane`.
template <class Element>
void Scatter(const cv::Mat& values, const PatternRecord& pattern, cv::Mat& plane) {
  for (int row = 0; row < values.rows; ++row) {
    const auto* const from = values.ptr<Element>(row);
    auto* to = plane.ptr<Element>(pattern.loc_y + row * pattern.interval_y, pattern.loc_x);
    for (int col = 0; col < values.cols; ++col) {
      to[static_cast<ptrdiff_t>(col) * pattern.interval_x] = from[col];
    }
  }
}

}  // namespace

int32_t LedMeter::CheckInput(const Shot* shot, const cv::Mat* pos_input,
                             const cv::Mat* chroma_input) {
  if (shot == nullptr || (pos_input == nullptr && chroma_input == nullptr)) {
    return FailNull();
  }
  const Input input = {*shot, Found(pos_input), Found(chroma_input)};
  const bool first = added.empty();
  int32_t status = CheckShot(*shot);
  if (status == 0) {
    status = CheckMatrices(input);
  }
  if (status == 0 && shot->part == nullptr) {  // which no check of the shot asks for
    status = Fail(9, "LedMeter::CheckInput--Error :: part meta info incompleted.");
  }
  if (status == 0) {
    status = first ? CheckSizes(*shot) : CheckSameSet(*this, input);
  }
  if (status == 0) {
    status = CheckCopy(input);
  }
  if (status != 0) {
    return status;
  }
  if (first) {
    *this = Begin(*this, input);
  }
  uint8_t& location = added.at<uint8_t>(shot->pattern->loc_y, shot->pattern->loc_x);
  if (location == 0) {
    return Fail(401, "LedMeter::CheckInput--Error :: data has added.");
  }
  location = 0;
  return 0;
}

int32_t LedMeter::Add(const Shot* shot, const cv::Mat* pos_input, const cv::Mat* chroma_input) {
  PellixInfo("LedMeter::Add");
  if (chroma_input == nullptr) {
    return FailNull();
  }
  const Found found_pos(pos_input);
  const Found found_chroma(chroma_input);
  if (const int32_t status = CheckInput(shot, pos_input, chroma_input); status != 0) {
    return status;
  }
  const PatternRecord& pattern = *shot->pattern;
  Scatter<uint8_t>(found_chroma.first, pattern, state);
  Scatter<float>(found_chroma.second, pattern, chroma);
  if (found_pos.given) {
    Scatter<cv::Point2f>(found_pos.second, pattern, pos);
  }
  return 0;
}

}  // namespace multilayer

// Operations on measurements: gathering one shot by shot, repair of dead LEDs, alignment.
#include "bench/cases.h"
#include "bench/wall.h"
#include "multilayer/shot/shot.h"

namespace multilayer::bench {
namespace {

// A whole record from sixteen shots, each of every fourth LED of every fourth row.
class AddShots : public Computation {
 public:
  explicit AddShots(cv::Size size) : Computation(size) {
    const LedMeter meter = MeasuredComplete(size, 0, kLevels.size() - 1);
    for (int32_t y = 0; y < kInterval; ++y) {
      for (int32_t x = 0; x < kInterval; ++x) {
        found_.emplace_back(meter, cv::Point(x, y));
      }
    }
    Shipped();
  }

  void Shipped() override {
    LedMeter meter;
    for (const Found& found : found_) {
      Must(meter.Add(&found.shot, found.pos.data(), found.chroma.data()));
    }
    meter_ = std::move(meter);
  }

  Touched Memory() override {
    Touched memory = {.read = {},
                      .updated = {},
                      .written = {meter_.state, meter_.pos, meter_.chroma},
                      .made_anew = true};
    for (const Found& found : found_) {
      memory.read.insert(memory.read.end(), {found.chroma[0], found.chroma[1], found.pos[1]});
    }
    return memory;
  }

 private:
  static constexpr int32_t kInterval = 4;

  // What one shot brings.
  struct Found {
    Found(const LedMeter& meter, cv::Point first)
        : pos{Lighted(meter.pos, first), Lighted(meter.pos, first)},
          chroma{Lighted(meter.state, first), Lighted(meter.chroma, first)} {
      const cv::Mat& lighted = chroma[1];
      shot.type = meter.type;
      shot.color = std::make_unique<int32_t>(meter.color);
      shot.part = std::make_unique<PartRecord>(*meter.part);
      shot.pattern = std::make_unique<PatternRecord>(
          PatternRecord{0, kInterval, kInterval, first.x, first.y, lighted.cols, lighted.rows});
    }

    static cv::Mat Lighted(const cv::Mat& plane, cv::Point first) {
      const auto count = [](int all, int from) { return (all - from + kInterval - 1) / kInterval; };
      cv::Mat lighted(count(plane.rows, first.y), count(plane.cols, first.x), plane.type());
      for (int row = 0; row < lighted.rows; ++row) {
        for (int col = 0; col < lighted.cols; ++col) {
          plane(cv::Rect(first.x + col * kInterval, first.y + row * kInterval, 1, 1))
              .copyTo(lighted(cv::Rect(col, row, 1, 1)));
        }
      }
      return lighted;
    }

    Shot shot;
    std::array<cv::Mat, 2> pos;
    std::array<cv::Mat, 2> chroma;
  };

  std::vector<Found> found_;
  LedMeter meter_;
};

class RepairDeadLeds : public Computation {
 public:
  explicit RepairDeadLeds(cv::Size size)
      : Computation(size),
        meter_(Measured(size, 0, kLevels.size() - 1)),
        begin_(meter_.chroma.clone()) {}

  void Start() override { begin_.copyTo(meter_.chroma); }

  void Shipped() override { Must(meter_.FixDeadPoint()); }

  // What it changes, one LED in thousands, does not count.
  Touched Memory() override {
    return {.read = {meter_.state, meter_.chroma}, .updated = {}, .written = {}};
  }

 private:
  LedMeter meter_;
  cv::Mat begin_;
};

class AlignMeter : public Computation {
 public:
  explicit AlignMeter(cv::Size size)
      : Computation(size), meter_(Measured(size, 0, kLevels.size() - 1)) {}

  void Shipped() override { Must(meter_.Align(kTarget, nullptr, nullptr)); }

  Touched Memory() override { return {.read = {}, .updated = {meter_.chroma}, .written = {}}; }

 private:
  static constexpr float kTarget[3] = {100.0F, 100.0F, 100.0F};

  LedMeter meter_;
};

}  // namespace

void AddMeterCases(std::vector<Case>& cases) {
  cases.push_back({"add shots", Make<AddShots>});
  cases.push_back({"dead-point repair", Make<RepairDeadLeds>});
  cases.push_back({"align", Make<AlignMeter>});
}

}  // namespace multilayer::bench

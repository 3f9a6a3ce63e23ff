// Averaged photographs, before and after.
#include "tool/inspection.h"

#include <algorithm>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "tool/error.h"
#include "tool/table.h"

namespace multilayer::tool {

// Of all partitions so far: the live LEDs' luminance, and everything as maps if there are any.
struct Inspector::View {
  std::array<std::array<std::vector<double>, 2>, 3> values;  // colour; before and after
  std::array<WallMap, 3>* maps = nullptr;
};

namespace {

void AppendLive(const cv::Mat& luminance, const cv::Mat& dead, std::vector<double>& values) {
  for (int row = 0; row < luminance.rows; ++row) {
    const auto* value = luminance.ptr<double>(row);
    const auto* is_dead = dead.ptr<uint8_t>(row);
    for (int col = 0; col < luminance.cols; ++col) {
      if (is_dead[col] == 0) {
        values.push_back(value[col]);
      }
    }
  }
}

void Place(const cv::Mat& luminance, const PartRecord& part, cv::Mat& map) {
  if (map.empty()) {
    map = cv::Mat::zeros(part.screen_h, part.screen_w, CV_32FC1);
  }
  cv::Mat target = map(cv::Rect(part.x, part.y, part.w, part.h));
  luminance.convertTo(target, CV_32F);
}

Evenness MeasureLive(std::vector<double>& values, size_t colour) {
  if (values.empty()) {
    throw Failure(Exit::kRefused, std::string("no ") + kColours[colour] + " LED of the wall lives");
  }
  return Measure(values);
}

}  // namespace

Inspector::Inspector(const CorrectedWall& wall, int32_t shots)
    : wall_(wall), next_shot_(Shots(wall.job()).verify) {
  result_.shots = shots;
  result_.noise = wall.scene().camera.RelativeNoise();
}

cv::Mat Inspector::Average(const simulation::PartitionTruth& truth, size_t primary, int32_t level,
                           const simulation::Correction& correction) {
  const simulation::Scene& scene = wall_.scene();
  const cv::Mat shine = scene.Shine(truth, primary, level, correction);
  cv::Mat sum = cv::Mat::zeros(shine.size(), CV_64FC1);
  for (int32_t shot = 0; shot < result_.shots; ++shot) {
    const LedMeter meter =
        scene.camera.Photograph({scene.wall, truth.part, primary, wall_.Layer(level), shine},
                                next_shot_ + static_cast<uint64_t>(shot));
    cv::accumulate(meter.chroma, sum);
  }
  return sum / result_.shots;
}

void Inspector::Count(const simulation::PartitionTruth& truth) {
  result_.leds += int64_t{truth.part.w} * truth.part.h;
  for (size_t colour = 0; colour < kColours.size(); ++colour) {
    result_.dead[colour] += cv::countNonZero(truth.primaries[colour].dead);
  }
}

void Inspector::Collect(const std::string& partition, int32_t level, View& view) {
  const auto [truth, correction] = wall_.Load(partition);
  if (!counted_) {
    Count(truth);
  }
  const simulation::Correction corrections[] = {{}, correction};
  for (size_t colour = 0; colour < kColours.size(); ++colour) {
    for (size_t state = 0; state < 2; ++state) {
      const cv::Mat seen = Average(truth, colour, level, corrections[state]);
      AppendLive(seen, truth.primaries[colour].dead, view.values[colour][state]);
      if (view.maps != nullptr) {
        WallMap& map = (*view.maps)[colour];
        Place(seen, truth.part, state == 0 ? map.before : map.after);
      }
    }
  }
}

// Level by level, so that only one level of the wall is in memory.
LevelReport Inspector::Look(int32_t level, std::array<WallMap, 3>* maps) {
  View view;
  view.maps = maps;
  const Job& job = wall_.job();
  for (const std::string& partition : job.partitions) {
    Collect(partition, level, view);
  }
  counted_ = true;
  next_shot_ += static_cast<uint64_t>(result_.shots);
  LevelReport report;
  report.level = level;
  report.captured = std::count(job.levels.begin(), job.levels.end(), level) > 0;
  report.judged = report.captured || level >= job.from_level;
  report.limit = result_.noise * (report.captured ? job.captured : job.between);
  for (size_t colour = 0; colour < kColours.size(); ++colour) {
    PrimaryReport& primary = report.primaries[colour];
    primary.before = MeasureLive(view.values[colour][0], colour);
    primary.after = MeasureLive(view.values[colour][1], colour);
    primary.target = wall_.calibration().targets.At(colour, wall_.Drive(level));
  }
  return report;
}

std::vector<LevelReport> Inspector::Run(const std::vector<int32_t>& levels) {
  Progress progress("verify", levels.size());
  std::vector<LevelReport> reports;
  for (const int32_t level : levels) {
    reports.push_back(Look(level, nullptr));
    progress.Step();
  }
  return reports;
}

void Inspector::Map(int32_t level) {
  const LevelReport report = Look(level, &result_.maps);
  for (size_t colour = 0; colour < kColours.size(); ++colour) {
    WallMap& map = result_.maps[colour];
    map.report = report.primaries[colour];
    map.before /= map.report.before.mean;
    map.after /= map.report.after.mean;
  }
}

}  // namespace multilayer::tool

// Averaged photographs of the white, before and after.
#include "tool/white_inspection.h"

#include <algorithm>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "tool/error.h"
#include "tool/table.h"

namespace multilayer::tool {
namespace {

// Not 0 where a primary of the LED does not light.
cv::Mat DeadOf(const simulation::PartitionTruth& truth) {
  return truth.primaries[0].dead | truth.primaries[1].dead | truth.primaries[2].dead;
}

}  // namespace

WhiteInspector::WhiteInspector(const CorrectedWall& wall, int32_t shots)
    : wall_(wall), next_shot_(Shots(wall.job()).verify) {
  result_.shots = shots;
  result_.noise = wall.scene().camera.RelativeNoise();
  result_.p95_limit = wall.job().white_p95;
  result_.module_limit = wall.job().white_modules;
}

void WhiteInspector::Place(const CorrectedWall::Part& part, int32_t level, bool corrected,
                           cv::Mat& view) const {
  const simulation::Scene& scene = wall_.scene();
  const simulation::Tristimulus light =
      scene.ShineWhite(part.truth, level, corrected ? part.correction : simulation::Correction());
  constexpr std::array<int32_t, 3> kTypes = {CIE_X, CIE_Y, CIE_Z};
  std::array<cv::Mat, 3> planes;
  for (size_t plane = 0; plane < planes.size(); ++plane) {
    planes[plane] = cv::Mat::zeros(light[plane].size(), CV_64FC1);
    for (int32_t shot = 0; shot < result_.shots; ++shot) {
      const LedMeter meter =
          scene.camera.Photograph({scene.wall, part.truth.part, simulation::kWhite,
                                   wall_.Layer(level), light[plane], kTypes[plane]},
                                  next_shot_ + static_cast<uint64_t>(shot));
      cv::accumulate(meter.chroma, planes[plane]);
    }
    planes[plane] /= result_.shots;
    planes[plane].setTo(0.0, DeadOf(part.truth));
  }
  const PartRecord& where = part.truth.part;
  cv::Mat target = view(cv::Rect(where.x, where.y, where.w, where.h));
  cv::merge(planes.data(), planes.size(), target);
}

// Neighbours and modules do not end at a partition: the whole screen is looked at together.
WhiteInspector::Views WhiteInspector::Show(int32_t level) {
  const simulation::WallParameters& wall = wall_.scene().wall;
  Views views;
  for (cv::Mat& view : views) {
    view = cv::Mat::zeros(wall.screen_h, wall.screen_w, CV_64FC3);
  }
  result_.leds = 0;
  result_.dead = 0;
  for (const std::string& name : wall_.job().partitions) {
    const CorrectedWall::Part part = wall_.Load(name);
    Place(part, level, /*corrected=*/false, views[0]);
    Place(part, level, /*corrected=*/true, views[1]);
    result_.leds += int64_t{part.truth.part.w} * part.truth.part.h;
    result_.dead += cv::countNonZero(DeadOf(part.truth));
  }
  next_shot_ += static_cast<uint64_t>(result_.shots);
  if (result_.dead == result_.leds) {
    throw Failure(Exit::kRefused, "no LED of the wall lives in all primaries");
  }
  return views;
}

WhiteLevel WhiteInspector::Judge(int32_t level, const Views& views) const {
  const std::array<double, 3>& white = wall_.calibration().white;
  const std::vector<int32_t>& captured = wall_.job().levels;
  const cv::Size module(wall_.scene().wall.module_w, wall_.scene().wall.module_h);
  WhiteLevel report;
  report.level = level;
  report.captured = std::count(captured.begin(), captured.end(), level) > 0;
  report.target = white[1] * wall_.Drive(level);
  report.before = MeasureWhite(views[0], module, white);
  report.after = MeasureWhite(views[1], module, white);
  return report;
}

void WhiteInspector::Run(const std::vector<int32_t>& levels) {
  Progress progress("verify", levels.size());
  for (const int32_t level : levels) {
    result_.levels.push_back(Judge(level, Show(level)));
    progress.Step();
  }
}

WhiteMap WhiteInspector::Map(int32_t level) {
  const Views views = Show(level);
  WhiteMap map;
  map.level = Judge(level, views);
  const auto against_mean = [](const cv::Mat& view, double mean) {
    cv::Mat luminance;
    cv::extractChannel(view, luminance, 1);
    luminance.convertTo(luminance, CV_32F, 1 / mean);
    return luminance;
  };
  map.before = against_mean(views[0], map.level.before.luminance);
  map.after = against_mean(views[1], map.level.after.luminance);
  return map;
}

}  // namespace multilayer::tool

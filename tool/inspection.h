// The corrected wall in front of the simulated camera, level by level over all partitions.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include <opencv2/core/mat.hpp>

#include "tool/corrected_wall.h"
#include "tool/job.h"
#include "tool/statistics.h"

namespace multilayer::tool {

struct PrimaryReport {
  Evenness before;
  Evenness after;
  double target = 0;  // cd/m^2
};

struct LevelReport {
  int32_t level = 0;
  bool captured = false;
  bool judged = false;
  double limit = 0;  // of the coefficient of variation after, if judged
  std::array<PrimaryReport, 3> primaries;

  bool Passes(size_t colour) const { return !judged || primaries[colour].after.variation <= limit; }
};

// Luminance / mean of every LED of the screen, CV_32FC1.
struct WallMap {
  cv::Mat before;
  cv::Mat after;
  PrimaryReport report;
};

struct Inspection {
  int64_t leds = 0;
  std::array<int64_t, 3> dead = {};
  int32_t shots = 0;
  double noise = 0;  // relative, of one photograph
  std::array<WallMap, 3> maps;
};

class Inspector {
 public:
  Inspector(const CorrectedWall& wall, int32_t shots);

  // Throws kFileAccess, kBrokenFile, kRefused.
  std::vector<LevelReport> Run(const std::vector<int32_t>& levels);

  // Fills the maps of the result.
  void Map(int32_t level);

  const Inspection& result() const { return result_; }

 private:
  // What one partition shows at one level, and where.
  struct View;

  LevelReport Look(int32_t level, std::array<WallMap, 3>* maps);
  void Collect(const std::string& partition, int32_t level, View& view);
  void Count(const simulation::PartitionTruth& truth);
  cv::Mat Average(const simulation::PartitionTruth& truth, size_t primary, int32_t level,
                  const simulation::Correction& correction);

  const CorrectedWall& wall_;
  Inspection result_;
  bool counted_ = false;
  uint64_t next_shot_;
};

}  // namespace multilayer::tool

// A balanced wall in front of the simulated camera: its white, level by level, and the verdict.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>
#include <opencv2/core/mat.hpp>

#include "tool/corrected_wall.h"
#include "tool/white_statistics.h"

namespace multilayer::tool {

struct WhiteLevel {
  int32_t level = 0;
  bool captured = false;  // and so judged
  double target = 0;      // CIE Y, cd/m^2
  WhiteEvenness before;
  WhiteEvenness after;
};

struct WhiteInspection {
  int32_t shots = 0;
  double noise = 0;      // relative, of one photograph, in X, Y and Z each
  int64_t leds = 0;      // with those that are dead
  int64_t dead = 0;      // a primary of theirs does not light: left out
  double p95_limit = 0;  // of the LEDs' delta u'v' to the target
  double module_limit = 0;
  std::vector<WhiteLevel> levels;

  bool Passes(const WhiteLevel& level) const {
    return !level.captured ||
           (level.after.p95 <= p95_limit && level.after.module_to_target <= module_limit &&
            level.after.module_to_module <= module_limit);
  }
};

// CIE Y / mean of every LED of the screen, CV_32FC1.
struct WhiteMap {
  cv::Mat before;
  cv::Mat after;
  WhiteLevel level;
};

class WhiteInspector {
 public:
  WhiteInspector(const CorrectedWall& wall, int32_t shots);

  // Throws kFileAccess, kBrokenFile, kRefused.
  void Run(const std::vector<int32_t>& levels);
  WhiteMap Map(int32_t level);

  const WhiteInspection& result() const { return result_; }

 private:
  // CIE XYZ of every LED of the screen, CV_64FC3: uncorrected and corrected.
  using Views = std::array<cv::Mat, 2>;

  Views Show(int32_t level);
  void Place(const CorrectedWall::Part& part, int32_t level, bool corrected, cv::Mat& view) const;
  WhiteLevel Judge(int32_t level, const Views& views) const;

  const CorrectedWall& wall_;
  WhiteInspection result_;
  uint64_t next_shot_;
};

std::string TextOf(const WhiteInspection& inspection);
nlohmann::ordered_json ToJson(const WhiteInspection& inspection);

// Throws kOutOfTolerance with the first levels that are, in words.
void Judge(const WhiteInspection& inspection);

}  // namespace multilayer::tool

// The display controller: gray levels become drives, through the coefficients.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include <opencv2/core/mat.hpp>

#include "multilayer/coeff/chroma_coeff.h"

namespace multilayer::simulation {

// The gamma curve of the demo: `levels` entries from 0 to 2^bits - 1, by the power law `gamma`.
// CV_32SC1, 3 rows (R, G, B) x levels (at least 2).
cv::Mat MakeGammaTable(int32_t levels, int32_t bits, double gamma);

// What a controller holds for one partition and colour.
struct CoefficientStack {
  std::vector<int32_t> positions;  // ascending, 0 .. 2^bit_width - 1
  std::vector<cv::Mat> coefs;      // CV_32FC1, one a position; none = uncorrected
};

class Controller {
 public:
  // `gamma_table` as MakeGammaTable, shared; the red row serves all colours. `bit_width` 16..24.
  Controller(const cv::Mat& gamma_table, int32_t bit_width);

  // Position of a gray level (a column of the gamma table): the table's output in bit_width units.
  int32_t Position(int32_t level) const;

  // Linear drive of a gray level: the gamma table's output over its largest output.
  float LinearNorm(int32_t level) const;

  // Drive of every LED (CV_64FC1, h x w, fraction of full scale) for a gray level: coefficient
  // interpolated linearly between the layer positions (held beyond the outer ones), times the
  // level's position, rounded to bit_width, clipped to full scale. A NaN coefficient drives 0.
  cv::Mat Show(int32_t level, cv::Size size, const CoefficientStack& stack) const;

  // Drive of primary i of every LED for displayed levels of red, green and blue, through a chroma
  // set: sum over o of coef[3 o + i] x the position of level o, rounded and clipped likewise. An
  // empty set leaves the levels as they are.
  cv::Mat Mix(const std::array<int32_t, 3>& levels, cv::Size size, const ChromaCoeff& set,
              size_t i) const;

 private:
  int32_t Output(int32_t level) const;
  double Drive(double wanted) const;

  cv::Mat gamma_table_;
  int32_t bit_width_;
  int32_t shift_;  // bits that the table's outputs have beyond bit_width; may be negative
};

}  // namespace multilayer::simulation

// A single-layer colour correction of one partition: for every LED a 3 x 3 matrix that mixes its
// primaries, so that each corrected primary and their white reach target colours.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <opencv2/core/mat.hpp>

#include "multilayer/coeff/lum_coeff.h"
#include "multilayer/color/chroma.h"
#include "multilayer/io/metadata.h"

namespace multilayer {

// Not thread-safe: one object belongs to one thread at a time.
class ChromaCoeff {
 public:
  // Nine planes, CV_32FC1, partition height x width: coef[3 o + i] is the share of primary i (0 red,
  // 1 green, 2 blue) in the corrected primary o. A set of which any plane is empty is an empty set.
  std::array<cv::Mat, 9> coef;
  PartRecord part;  // the partition that the set covers
  // Of SetPara: CV_32FC1, 4 x 3. Rows red, green, blue, white; columns the weights of the equations
  // for luminance, x and y. Shared, not copied; not saved.
  cv::Mat weights;
  std::array<int32_t, 3> para = {};  // of SetPara; not saved, and nothing here reads it

  // `weights`: as above, none negative; shared. Returns 0; 601 other size or type; 602 a negative
  // weight; 603 a negative value. On failure all is as it was.
  int32_t SetPara(const cv::Mat& weights, int32_t p1, int32_t p2, int32_t p3);

  // Fits the matrices by weighted least squares (docs/numerics.md, "Chroma fit").
  // `targets`: 12 floats, (Y, x, y) of red, green, blue, white: cd/m^2 and CIE 1931 chromaticity.
  // `r`, `g`, `b`: measured primaries, planes of equal size, in the unit of the targets' Y. An LED
  // whose primaries do not span the colours, within the resolution of floats, gets zeros; all get
  // them when weights and targets leave a colour open. Planes that nobody else holds are filled
  // again, others replaced. Returns 0; 5, 9 as ChromaXYZ::Check; after one log line 9 when sizes
  // differ, 1 for null targets, 601 before SetPara. On failure the set is as it was.
  int32_t Compute(const float* targets, const ChromaXYZ& r, const ChromaXYZ& g, const ChromaXYZ& b,
                  const PartRecord& p);

  // Takes finished matrices of rows x cols LEDs, LED by LED, row by row, nine floats each, column
  // by column: the shares of red in the corrected red, green and blue, then those of green, of
  // blue. `data`: `count` floats, copied. Sets part.w and part.h. Returns 0; 600 unless count =
  // 9 rows cols; after one log line 1 null data, 9 a negative size.
  int32_t Set(int32_t rows, int32_t cols, const float* data, int32_t count);

  // Multiplies the share of each primary by its luminance factor. Returns 0; 1 null; 12 a set is
  // empty; 9 sizes differ or planes are no floats, each after one log line.
  int32_t Merge(const LumCoeff* lum);

  // Blends the columns (equal part.x and part.h) or the rows (equal part.y and part.w) that two
  // neighbours share, in both sets; docs/numerics.md has the equation. Returns 0 (also when they
  // share none); 1 null; 12 a set is empty; 604 not neighbours; 9 planes of a set that are no floats
  // of one size, each after one log line.
  static int32_t CombineDaul(ChromaCoeff* a, ChromaCoeff* b);

  // As LumCoeff::CombineAll and LumCoeff::Assemble; uncovered LEDs get the identity matrix.
  static int32_t CombineAll(const std::vector<ChromaCoeff*>& list);
  static int32_t Assemble(const std::vector<ChromaCoeff*>& list, ChromaCoeff& out);

  // ".chromacoeff" files and buffers, statuses as LedMeter's: the planes and the partition.
  // GetBufferSize: 5 for an empty set.
  int32_t Save(const std::string& fullname) const;
  int32_t Load(const std::string& fullname);
  int32_t ToBuffer(uint8_t* buffer, uint64_t* size) const;
  int32_t FromBuffer(const uint8_t* buffer, uint64_t size);
  int32_t GetBufferSize(uint64_t* size) const;
};

}  // namespace multilayer

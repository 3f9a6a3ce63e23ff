// A single-layer luminance correction of one partition: one factor for every LED and primary.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <opencv2/core/mat.hpp>

#include "multilayer/io/metadata.h"
#include "multilayer/meter/led_meter.h"

namespace multilayer {

// Not thread-safe: one object belongs to one thread at a time.
class LumCoeff {
 public:
  // Factors of red, green and blue: CV_32FC1, partition height x width. A set of which any plane is
  // empty is an empty set.
  cv::Mat coef_r;
  cv::Mat coef_g;
  cv::Mat coef_b;
  PartRecord part;                   // the partition that the set covers
  std::array<int32_t, 3> para = {};  // of SetPara; not saved, and nothing here reads it

  // factor = full-scale luminance / measured luminance; 0 measured gives infinity or NaN.
  // `init_y`: 9 floats, cd/m^2; [0], [3] and [6] are the full-scale luminance of red, green, blue.
  // The measurements are of type CIE_Y, of three colours, equal size, with a partition.
  // Returns 0; 1 null argument; 12 empty chroma; 9 otherwise, as LedMeter::Check, each after one
  // log line. On failure the set is as it was.
  int32_t Compute(const float* init_y, const LedMeter* red, const LedMeter* green,
                  const LedMeter* blue);

  // Stores three values. Returns 0; 603 when one is negative.
  int32_t SetPara(int32_t p1, int32_t p2, int32_t p3);

  // Multiplies every factor by that of `other`, which may be this set, in place: copies of this set
  // share it. Returns 0; 1 null; 12 a set is empty; 9 sizes differ or planes are no floats, each
  // after one log line.
  int32_t Merge(const LumCoeff* other);

  // Blends the rows that two neighbours share, in both sets; docs/numerics.md has the equation,
  // whose weights are not normalised. They must have equal part.y and part.w. Returns 0 (also when
  // they share no row); 1 null; 12 a set is empty; 604 not neighbours; 9 planes of a set that are no
  // floats of one size, each after one log line.
  static int32_t CombineDaul(LumCoeff* a, LumCoeff* b);

  // CombineDaul of the pairs (i, j) with i < j < n - 1 - i of the n sets, whatever they answer: of
  // two sets none, and never the last. Returns 0; 12 the list or a set is empty; 1 a set is null,
  // each after one log line, and nothing is blended then.
  static int32_t CombineAll(const std::vector<LumCoeff*>& list);

  // Places the sets into one that covers their bounding box; later sets overwrite earlier ones,
  // and LEDs that none covers get 1. `out` may be one of them. Returns 0; 12 the list or a set is
  // empty; 1 a set is null; 9 planes that are no floats of one size or smaller than their partition,
  // or a box without an LED or with more than 536870911, each after one log line. On failure `out`
  // is as it was.
  static int32_t Assemble(const std::vector<LumCoeff*>& list, LumCoeff& out);

  // ".lumcoeff" files and buffers, statuses as LedMeter's: the planes and the partition.
  // GetBufferSize: 5 for an empty set.
  int32_t Save(const std::string& fullname) const;
  int32_t Load(const std::string& fullname);
  int32_t ToBuffer(uint8_t* buffer, uint64_t* size) const;
  int32_t FromBuffer(const uint8_t* buffer, uint64_t size);
  int32_t GetBufferSize(uint64_t* size) const;
};

}  // namespace multilayer

// White balance of every LED: the gains of red, green and blue that move its white to the target.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include <opencv2/core/mat.hpp>

#include "multilayer/color/chroma.h"
#include "multilayer/io/metadata.h"

namespace multilayer {

// The XYZ that an LED emits for the gains (r, g, b) is M (r, g, b), where the columns of the 3 x 3
// matrix M are the XYZ of its primaries. One Compute is one correction step,
//   gain += M^-1 (target - measured),
// LED by LED; gains persist between calls, so that rounds of measuring and computing converge. M is
// one matrix for all LEDs (which wins when both are set) or measured for each.
// Not thread-safe: one object belongs to one thread at a time.
class WhiteCoeff {
 public:
  // Gains, CV_32FC1, height x width; empty until the first Compute, which starts them at 1.
  cv::Mat coef_r;
  cv::Mat coef_g;
  cv::Mat coef_b;
  // The partition that the gains belong to; h is -1 while unbound.
  PartRecord part = {-1, -1, -1, -1, -1, -1};
  int32_t singular_count = -1;  // LEDs that the last Compute left alone, their M being singular
  int32_t width = 0;            // LED grid of the last Compute
  int32_t height = 0;
  const float* target_white = nullptr;  // X, Y, Z; borrowed
  std::array<ChromaXYZ, 3> rgb_xyz;     // measured primaries R, G, B; planes shared
  cv::Mat rgb2xyz;                      // CV_32FC1, 3 x 3: rows X, Y, Z, columns R, G, B
  ChromaXYZ delta_xyz;                  // target - measured of the last Compute

  // One matrix for all LEDs, copied. `m`: 9 floats, X, Y, Z of red, of green, of blue. Returns 0;
  // 9 null.
  int32_t SetRGBXYZ(const float* m);

  // Measured primaries of every LED; planes are shared. Returns 0; 9 when a bundle is empty or
  // their sizes differ.
  int32_t SetRGBXYZ(const ChromaXYZ& r, const ChromaXYZ& g, const ChromaXYZ& b);

  // `xyz`: 3 floats X, Y, Z; borrowed, read by Compute. Returns 0; 1 null.
  int32_t SetTargetWhite(const float* xyz);

  // One correction step from the measured white `w` (three planes p.h x p.w) of partition `p`. The
  // first call binds the object to `p`; later ones must have its w and h.
  // Returns 0; 9 no target or no matrix set, `w` invalid or of another size than the partition,
  // primaries or restored gains of another size. A refusal leaves the gains as they were.
  int32_t Compute(const ChromaXYZ& w, const PartRecord& p);

  // The checks of Compute alone: what it would refuse, with its statuses and log lines. Binds the
  // object to `p` if it is not bound yet.
  int32_t Bind(const ChromaXYZ& w, const PartRecord& p);

  // ".whitecoeff" files and buffers, statuses as LedMeter's. They hold gains, partition and
  // singular count; a restored object goes on from its gains. GetBufferSize: 5 without gains.
  int32_t Save(const std::string& fullname) const;
  int32_t Load(const std::string& fullname);
  int32_t ToBuffer(uint8_t* buffer, uint64_t* size) const;
  int32_t FromBuffer(const uint8_t* buffer, uint64_t size);
  int32_t GetBufferSize(uint64_t* size) const;
};

}  // namespace multilayer

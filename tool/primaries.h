// Measurements of the primaries of the same LEDs, in any order: each file says its colour and plane.
#pragma once

#include <string>
#include <vector>

#include "simulation/measure.h"

namespace multilayer::tool {

enum class Planes { kLuminance, kAll };  // CIE Y; CIE X, Y and Z

// `files` by colour and plane, one of each. Luminance stands at [colour][1]. The Z of red, which is
// next to nothing, may be missing: it is then all 0. Throws kFileAccess, kBrokenFile, and kRefused where the files do
// not go together.
simulation::MeasuredPrimaries LoadPrimaries(const std::vector<std::string>& files, Planes planes);

// LEDs that are marked dead in any of the measurements of `colour`: CV_8UC1, not 0 where they are.
cv::Mat DeadOf(const simulation::MeasuredPrimaries& primaries, size_t colour);

}  // namespace multilayer::tool

// Measurements of the primaries of the same LEDs, in any order: each file says its colour and plane.
#pragma once

#include <string>
#include <vector>

#include "simulation/measure.h"

namespace multilayer::tool {

enum class Planes { kLuminance, kAll };  // CIE Y; CIE X, Y and Z

// `files` by colour and plane, one of each. Luminance stands at [colour][1]. The Z of red, which is
// next to nothing, may be missing. Throws kFileAccess, kBrokenFile, and kRefused where the files do
// not go together.
simulation::MeasuredPrimaries LoadPrimaries(const std::vector<std::string>& files, Planes planes);

}  // namespace multilayer::tool

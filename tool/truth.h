// The hidden truth of a simulated job, truth.toml: what simulate made the wall from, and what
// verify shows the corrected wall with.
#pragma once

#include <filesystem>
#include <string>

#include "simulation/parameters.h"
#include "tool/job.h"

namespace multilayer::tool {

struct Truth {
  simulation::WallParameters wall;
  simulation::CameraParameters camera;
};

// Every key must be there: a value left out would be another wall. Throws kFileAccess, kBrokenFile.
Truth ReadTruth(const std::filesystem::path& path);
std::string TruthText(const Truth& truth);

}  // namespace multilayer::tool

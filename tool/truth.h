// The hidden truth of a simulated job, truth.toml: what simulate made the wall from, and what
// verify shows the corrected wall with.
#pragma once

#include <filesystem>
#include <string>

#include "simulation/measure.h"
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

// The wall in front of its camera.
simulation::Scene MakeScene(const Job& job, const Truth& truth);

// Numbers of photographs: no two uses of a job's camera may see the same noise. The captured levels
// have the first ones.
struct Shots {
  explicit Shots(const Job& job)
      : primaries(job.levels.size()), steps(primaries + 1), verify(steps + job.levels.size() + 1) {}
  uint64_t primaries;
  uint64_t steps;  // of an iteration, one more than levels
  uint64_t verify;
};

}  // namespace multilayer::tool

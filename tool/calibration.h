// How the coefficients of a folder were computed: calibration.toml, which stands beside them.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tool/job.h"
#include "tool/measurements.h"

namespace multilayer::tool {

enum class Mode {
  kNorm,     // luminance, in one pass over all captured levels
  kIterate,  // luminance, a level at a time on the corrected wall
  kWhite,    // white balance, likewise
};
inline constexpr std::array<const char*, 3> kModes = {"norm", "iterate", "white"};

// The primaries that white balance goes by: those of every LED, or one mean matrix a partition.
inline constexpr const char* kPerLed = "measured";
inline constexpr const char* kMean = "mean";

inline const char* NameOf(Mode mode) { return kModes[static_cast<size_t>(mode)]; }

struct Calibration {
  Mode mode = Mode::kNorm;
  // Of an iteration: the levels in the order of its steps, and the steps done. One more than levels
  // ends it.
  std::vector<int32_t> order;
  int32_t steps = 0;
  std::string primaries = kPerLed;
  Targets targets;                   // luminance
  std::array<double, 3> white = {};  // X, Y, Z at full drive

  bool Done() const { return mode == Mode::kNorm || steps > static_cast<int32_t>(order.size()); }

  // The level to be shown before the next step, which there must be: the first one for step 0, and
  // then one after the other.
  int32_t NextLevel() const { return order[static_cast<size_t>(steps == 0 ? 0 : steps - 1)]; }
};

// Of the coefficients in `folder`, if they say. Throws kFileAccess, kBrokenFile.
std::optional<Calibration> FindCalibration(const std::filesystem::path& folder);
void SaveCalibration(const std::filesystem::path& folder, const Calibration& calibration);
std::filesystem::path CalibrationFile(const std::filesystem::path& folder);

}  // namespace multilayer::tool

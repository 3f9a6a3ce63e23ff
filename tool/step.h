// An iteration that a host application drives, one measured level a call.
#pragma once

#include <filesystem>
#include <string>

#include "simulation/measure.h"
#include "tool/calibration.h"
#include "tool/job.h"

namespace multilayer::tool {

// The state between calls stands in a folder: calibration.toml with the steps done, and each
// partition's .mlcoefs. The measurements of step n stand beside the job file, as
//   PARTITION_COLOR_LEVEL_stepN.meter          luminance: CIE Y of red, green and blue
//   PARTITION_white_PLANE_LEVEL_stepN.meter    white: planes x, y and z of all primaries together
//   PARTITION_COLOR_PLANE_LEVEL.meter          white: primaries, at the highest captured level of
//                                              the uncorrected wall; once for all steps
// with the level in three digits.

// Takes the next step if its measurements are there, and says what to show and measure next.
// `plan` is what the call asks for, as yet without targets; `own_order`: with an order of its own,
// which must then be that of the run. `simulate`: photographs the simulated wall first. Throws
// Failure; the state is then that of the step before.
void RunStep(const Job& job, const Calibration& plan, const std::filesystem::path& folder,
             bool own_order, bool simulate);

// Writes the primaries of a partition under the names above.
void SavePrimaries(const Job& job, const std::string& partition,
                   const simulation::MeasuredPrimaries& primaries);

// Removes all measurements of steps and of primaries, and what an interrupted step left.
void RemoveSteps(const Job& job);

}  // namespace multilayer::tool

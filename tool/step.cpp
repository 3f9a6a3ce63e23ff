// Reading, stepping, and the order in which the files of a step get their names.
#include "tool/step.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <system_error>
#include <vector>

#include "simulation/closed_loop.h"
#include "tool/error.h"
#include "tool/files.h"
#include "tool/iteration.h"
#include "tool/measurements.h"
#include "tool/table.h"

namespace multilayer::tool {
namespace {

namespace fs = std::filesystem;

constexpr std::array<const char*, 3> kWhitePlanes = {"white_x", "white_y", "white_z"};
constexpr std::array<const char*, 3> kPlanes = {"x", "y", "z"};
constexpr std::array<int32_t, 3> kPlaneTypes = {CIE_X, CIE_Y, CIE_Z};

std::string InThreeDigits(int32_t level) {
  char text[16];
  std::snprintf(text, sizeof text, "%03d", level);
  return text;
}

fs::path StepFile(const Job& job, const std::string& partition, const char* what, int32_t level,
                  int32_t step) {
  return job.Folder() / (partition + "_" + what + "_" + InThreeDigits(level) + "_step" +
                         std::to_string(step) + ".meter");
}

fs::path PrimaryFile(const Job& job, const std::string& partition, size_t colour, size_t plane) {
  return job.Folder() / (partition + "_" + kColours[colour] + "_" + kPlanes[plane] + "_" +
                         InThreeDigits(job.levels.back()) + ".meter");
}

// The measurements of a step, three a partition.
const std::array<const char*, 3>& NamesOf(Mode mode) {
  return mode == Mode::kWhite ? kWhitePlanes : kColours;
}

fs::path NextFile(const Job& job, const Calibration& state, const std::string& partition,
                  size_t i) {
  return StepFile(job, partition, NamesOf(state.mode)[i], state.NextLevel(), state.steps);
}

std::vector<fs::path> FilesOfStep(const Job& job, const Calibration& state) {
  std::vector<fs::path> files;
  for (const std::string& partition : job.partitions) {
    for (size_t i = 0; i < 3; ++i) {
      files.push_back(NextFile(job, state, partition, i));
    }
  }
  return files;
}

simulation::MeasuredPrimaries LoadPrimaries(const Job& job, const std::string& partition) {
  simulation::MeasuredPrimaries primaries;
  for (size_t colour = 0; colour < 3; ++colour) {
    for (size_t plane = 0; plane < 3; ++plane) {
      LedMeter& meter = primaries[colour][plane];
      meter = LoadMeasurement(PrimaryFile(job, partition, colour, plane), kColorCodes[colour],
                              kPlaneTypes[plane], job.levels.back());
      if (meter.chroma.size() != primaries[0][0].chroma.size()) {
        throw Failure(Exit::kBrokenFile, PrimaryFile(job, partition, colour, plane).string() +
                                             ": is of another size than the other primaries");
      }
    }
  }
  FullScale(primaries);
  return primaries;
}

// Bundles know no colour white: the three records need only agree.
std::array<LedMeter, 3> LoadStep(const Job& job, const Calibration& state,
                                 const std::string& partition) {
  std::array<LedMeter, 3> meters;
  for (size_t i = 0; i < meters.size(); ++i) {
    const fs::path path = NextFile(job, state, partition, i);
    meters[i] = state.mode == Mode::kWhite
                    ? LoadMeasurement(path, kAnyColor, kPlaneTypes[i], state.NextLevel())
                    : LoadMeasurement(path, kColorCodes[i], CIE_Y, state.NextLevel());
    if (std::memcmp(meters[i].part.get(), meters[0].part.get(), sizeof(PartRecord)) != 0) {
      throw Failure(Exit::kBrokenFile,
                    path.string() + ": part differs from the other measurements of the step");
    }
  }
  return meters;
}

// Only a run that is not finished can go on, and only as it began.
Calibration Resume(const Job& job, const Calibration& plan, const fs::path& folder,
                   bool own_order) {
  const std::optional<Calibration> found = FindCalibration(folder);
  if (!found || (found->mode != plan.mode && found->Done())) {
    return plan;
  }
  const std::string file = CalibrationFile(folder).string();
  if (found->Done()) {
    throw Failure(
        Exit::kWrongCall,
        file + ": all steps are done; remove it and the steps' measurements to start again");
  }
  if (found->mode != plan.mode || (own_order && found->order != plan.order) ||
      (plan.primaries == kMean && found->primaries != kMean)) {
    throw Failure(Exit::kWrongCall, file + ": another iteration is under way, in the mode " +
                                        NameOf(found->mode) +
                                        " or with other options; remove it to start again");
  }
  std::vector<int32_t> sorted = found->order;
  std::sort(sorted.begin(), sorted.end());
  if (sorted != job.levels) {
    throw Failure(Exit::kRefused,
                  file + ": was begun with other levels than those of " + job.file.string());
  }
  return *found;
}

fs::path Finished(const fs::path& folder, const std::string& partition) {
  return folder / (partition + ".mlcoefs");
}

fs::path Staged(const fs::path& folder, const std::string& partition, int32_t steps) {
  return folder / (partition + ".step" + std::to_string(steps) + ".mlcoefs");
}

// A step writes all its coefficients under names of their own, then calibration.toml, and then
// renames them. Interrupted before calibration.toml, the step is taken again; after it, the next
// call ends the renaming.
void Rename(const Job& job, const Calibration& state, const fs::path& folder) {
  for (const std::string& partition : job.partitions) {
    const fs::path staged = Staged(folder, partition, state.steps);
    if (std::error_code error; fs::exists(staged)) {
      fs::rename(staged, Finished(folder, partition), error);
      if (error) {
        throw Failure(Exit::kFileAccess, staged.string() + ": cannot be renamed");
      }
    }
  }
}

void Photograph(const Job& job, const Calibration& state, const fs::path& folder) {
  const SimulatedWall wall(job);
  for (const std::string& partition : job.partitions) {
    const simulation::PartitionTruth truth = wall.Partition(partition);
    const simulation::Correction shown =
        state.steps == 0 ? simulation::Correction()
                         : simulation::CorrectionOf(LoadCoefficients(Finished(folder, partition)));
    const std::array<LedMeter, 3> meters =
        wall.Photograph(state.mode, truth, state.NextLevel(), shown, state.steps);
    for (size_t i = 0; i < meters.size(); ++i) {
      SaveMeter(NextFile(job, state, partition, i), meters[i]);
    }
    if (state.mode == Mode::kWhite && state.steps == 0) {
      SavePrimaries(job, partition, wall.Primaries(truth));
    }
  }
}

void Step(const Job& job, const Calibration& state, const fs::path& folder, const std::string& name,
          const simulation::WallMeans& means) {
  PartitionEngine partition;
  std::array<LedMeter, 3> meters = LoadStep(job, state, name);
  if (state.steps > 0) {
    partition.engine = LoadCoefficients(Finished(folder, name));
    if (std::memcmp(meters[0].part.get(), &partition.engine.part_x_y_w_h, sizeof(PartRecord)) !=
        0) {
      throw Failure(Exit::kBrokenFile, NextFile(job, state, name, 0).string() +
                                           ": part differs from that of the coefficients");
    }
  }
  simulation::MeasuredPrimaries primaries;
  if (state.mode == Mode::kWhite) {
    primaries = LoadPrimaries(job, name);
  }
  SetParameters(job, state, &primaries, partition);
  const int32_t status =
      state.mode == Mode::kWhite
          ? simulation::StepWhite(partition.engine, std::move(meters))
          : simulation::StepLuminance(partition.engine, std::move(meters), means);
  RequireDone(status, name);
  SaveCoefficients(Staged(folder, name, state.steps + 1), partition.engine);
}

std::string NextText(const Job& job, const Calibration& state, const fs::path& folder) {
  if (state.Done()) {
    return "All steps are done.\n";
  }
  const std::string last = std::to_string(state.order.size());
  std::string text = "Next, step " + std::to_string(state.steps) + " of 0 to " + last +
                     ": show gray " + std::to_string(state.NextLevel()) +
                     (state.steps == 0 ? " uncorrected"
                                       : " through the coefficients in " + (folder / "").string()) +
                     ", measure every partition and call again.\n";
  for (const char* name : NamesOf(state.mode)) {
    text += "  " + StepFile(job, "PARTITION", name, state.NextLevel(), state.steps).string() + "\n";
  }
  if (state.mode == Mode::kWhite && state.steps == 0) {
    text += "Before that, each primary at gray " + std::to_string(job.levels.back()) +
            ", uncorrected, through the filters x, y and z.\n  " +
            PrimaryFile(job, "PARTITION", 0, 0).string() + " and so on\n";
  }
  return text;
}

}  // namespace

void RunStep(const Job& job, const Calibration& plan, const fs::path& folder, bool own_order,
             bool simulate) {
  Calibration state = Resume(job, plan, folder, own_order);
  MakeFolder(folder.empty() ? "." : folder);
  Rename(job, state, folder);
  if (simulate) {
    Photograph(job, state, folder);
  }
  const std::vector<fs::path> files = FilesOfStep(job, state);
  if (std::none_of(files.begin(), files.end(), [](const auto& file) { return fs::exists(file); })) {
    PrintOut(NextText(job, state, folder));
    return;
  }
  if (state.steps == 0 && state.mode == Mode::kWhite) {
    state.white = FindWhite(job, [&](const auto& name) { return LoadPrimaries(job, name); });
  } else if (state.steps == 0) {
    state.targets = FindTargets(job);
  }
  {
    simulation::WallMeans means;
    for (size_t i = 0; i < job.partitions.size() && state.mode == Mode::kIterate; ++i) {
      simulation::Add(means, LoadStep(job, state, job.partitions[i]));
    }
    Progress progress("step", job.partitions.size());
    for (const std::string& name : job.partitions) {
      Step(job, state, folder, name, means);
      progress.Step();
    }
  }
  const std::string done = "Step " + std::to_string(state.steps) + " is done, from gray " +
                           std::to_string(state.NextLevel()) + ".\n";
  ++state.steps;
  SaveCalibration(folder, state);
  Rename(job, state, folder);
  PrintOut(done + NextText(job, state, folder));
}

void SavePrimaries(const Job& job, const std::string& partition,
                   const simulation::MeasuredPrimaries& primaries) {
  for (size_t i = 0; i < 9; ++i) {
    SaveMeter(PrimaryFile(job, partition, i / 3, i % 3), primaries[i / 3][i % 3]);
  }
}

void RemoveSteps(const Job& job) {
  for (const std::string& partition : job.partitions) {
    for (size_t i = 0; i < 9; ++i) {
      fs::remove(PrimaryFile(job, partition, i / 3, i % 3));
    }
    const auto last = static_cast<int32_t>(job.levels.size());
    for (int32_t step = 0; step <= last; ++step) {
      fs::remove(Staged(job.Folder(), partition, step + 1));
      for (const int32_t level : job.levels) {
        for (size_t i = 0; i < 3; ++i) {
          fs::remove(StepFile(job, partition, kColours[i], level, step));
          fs::remove(StepFile(job, partition, kWhitePlanes[i], level, step));
        }
      }
    }
  }
}

}  // namespace multilayer::tool

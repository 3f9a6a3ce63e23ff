// `multilayer calibrate`: from the measurements of a wall to one coefficient file per partition.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

#include <opencv2/core.hpp>

#include "tool/calibration.h"
#include "tool/commands.h"
#include "tool/error.h"
#include "tool/files.h"
#include "tool/iteration.h"
#include "tool/job.h"
#include "tool/measurements.h"
#include "tool/picture.h"
#include "tool/step.h"
#include "tool/table.h"

namespace multilayer::tool {
namespace {

namespace fs = std::filesystem;

struct CalibrateOptions {
  std::string job;
  std::string output;
  std::string mode = NameOf(Mode::kNorm);
  std::vector<int32_t> order;
  std::string primaries;
  bool images = false;
  bool step = false;
  bool simulate = false;
};

// What the call asks for, but for the targets.
Calibration Plan(const CalibrateOptions& options, const Job& job) {
  Calibration calibration;
  calibration.mode =
      static_cast<Mode>(std::find(kModes.begin(), kModes.end(), options.mode) - kModes.begin());
  if (!options.order.empty() && calibration.mode == Mode::kNorm) {
    throw Failure(Exit::kWrongCall,
                  "--order is for the modes iterate and white: norm has no steps");
  }
  if (!options.primaries.empty() && calibration.mode != Mode::kWhite) {
    throw Failure(Exit::kWrongCall, "--primaries is for the mode white");
  }
  if (calibration.mode != Mode::kNorm) {
    calibration.order = options.order.empty() ? job.levels : options.order;
  }
  if (!options.primaries.empty()) {
    calibration.primaries = options.primaries;
  }
  std::vector<int32_t> sorted = calibration.order;
  std::sort(sorted.begin(), sorted.end());
  if (calibration.mode != Mode::kNorm && sorted != job.levels) {
    throw Failure(Exit::kWrongCall, "--order must name each captured level once");
  }
  return calibration;
}

// LEDs of red, green and blue that are flagged.
using Dead = std::array<int, 3>;

// At any level.
int CountDead(const std::vector<LedMeter>& meters) {
  cv::Mat flags = cv::Mat::zeros(meters.front().state.size(), CV_8UC1);
  for (const LedMeter& meter : meters) {
    cv::bitwise_or(flags, meter.state, flags);
  }
  return cv::countNonZero(flags & cv::Scalar(LED_DEAD));
}

struct CoefSummary {
  double min = std::numeric_limits<double>::infinity();
  double max = -min;
  double mean = 0;
  int uncorrected = 0;  // LEDs with exactly 1.0 at every layer
};

CoefSummary Summarise(const std::vector<cv::Mat>& coefs) {
  CoefSummary summary;
  cv::Mat untouched(coefs.front().size(), CV_8UC1, cv::Scalar(255));
  for (const cv::Mat& coef : coefs) {
    double low = 0;
    double high = 0;
    cv::minMaxLoc(coef, &low, &high);
    summary.min = std::min(summary.min, low);
    summary.max = std::max(summary.max, high);
    summary.mean += cv::mean(coef)[0] / static_cast<double>(coefs.size());
    untouched &= coef == 1.0;
  }
  summary.uncorrected = cv::countNonZero(untouched);
  return summary;
}

Dead ComputeNorm(const Job& job, const Calibration& calibration, const std::string& partition,
                 MultiLayerCoeff& engine) {
  engine.keep_response_segments = false;
  SetParameters(job, calibration.targets, engine);
  PartitionMeters meters = LoadPartition(job, partition);
  const std::vector<LedMeter*> red = simulation::Pointers(meters[0]);
  const std::vector<LedMeter*> green = simulation::Pointers(meters[1]);
  const std::vector<LedMeter*> blue = simulation::Pointers(meters[2]);
  RequireDone(engine.Compute(&red, &green, &blue), partition);
  return {CountDead(meters[0]), CountDead(meters[1]), CountDead(meters[2])};
}

// A partition of an iteration.
struct Iterated {
  PartitionEngine partition;
  Dead dead = {};
};

std::unique_ptr<Iterated> Prepare(const Job& job, const Calibration& calibration,
                                  const SimulatedWall& wall, const std::string& name) {
  auto iterated = std::make_unique<Iterated>();
  simulation::MeasuredPrimaries primaries = wall.Primaries(wall.Partition(name));
  FullScale(primaries);
  for (size_t colour = 0; colour < 3; ++colour) {
    iterated->dead[colour] = cv::countNonZero(primaries[colour][1].state & cv::Scalar(LED_DEAD));
  }
  SetParameters(job, calibration, &primaries, iterated->partition);
  return iterated;
}

// The whole closed loop, in front of the simulated camera. The partitions take each step together:
// the mean of a level is the wall's. Photographs are taken twice rather than kept.
std::vector<std::unique_ptr<Iterated>> IterateWall(const Job& job, Calibration& calibration,
                                                   const SimulatedWall& wall) {
  std::vector<std::unique_ptr<Iterated>> all;
  for (const std::string& name : job.partitions) {
    all.push_back(Prepare(job, calibration, wall, name));
  }
  const auto photograph = [&](size_t i) {
    const simulation::Correction shown = calibration.steps == 0
                                             ? simulation::Correction()
                                             : simulation::CorrectionOf(all[i]->partition.engine);
    return wall.Photograph(calibration.mode, wall.Partition(job.partitions[i]),
                           calibration.NextLevel(), shown, calibration.steps);
  };
  Progress progress("calibrate", calibration.order.size() + 1);
  for (; !calibration.Done(); ++calibration.steps) {
    simulation::WallMeans means;
    for (size_t i = 0; i < all.size() && calibration.mode == Mode::kIterate; ++i) {
      simulation::Add(means, photograph(i));
    }
    for (size_t i = 0; i < all.size(); ++i) {
      MultiLayerCoeff& engine = all[i]->partition.engine;
      RequireDone(calibration.mode == Mode::kWhite
                      ? simulation::StepWhite(engine, photograph(i))
                      : simulation::StepLuminance(engine, photograph(i), means),
                  job.partitions[i]);
    }
    progress.Step();
  }
  return all;
}

void AddRows(Table& table, const std::string& partition, const Dead& dead,
             const MultiLayerCoeff& engine) {
  const std::vector<cv::Mat>* lists[] = {&engine.coef_r, &engine.coef_g, &engine.coef_b};
  for (size_t colour = 0; colour < std::size(lists); ++colour) {
    const CoefSummary summary = Summarise(*lists[colour]);
    table.Add({partition, kColours[colour], std::to_string(lists[colour]->front().total()),
               std::to_string(dead[colour]), Fixed(summary.min, 4), Fixed(summary.mean, 4),
               Fixed(summary.max, 4), std::to_string(summary.uncorrected)});
  }
}

// The library does not say whether a picture arrived: every layer goes to a name beside, is read
// back, and then gets its own name.
void WriteImages(const fs::path& folder, const std::string& partition,
                 const MultiLayerCoeff& engine) {
  MakeFolder(folder);
  const std::string beside =
      (folder / (partition + ".tmp-" + std::to_string(getpid()) + "_")).string();
  const std::string final_prefix = (folder / (partition + "_")).string();
  for (int32_t layer = 0; layer < engine.coef_layer_num; ++layer) {
    const auto i = static_cast<size_t>(layer);
    MultiLayerCoeff one;
    one.coef_layer_num = 1;
    one.coef_r = {engine.coef_r[i]};
    one.coef_g = {engine.coef_g[i]};
    one.coef_b = {engine.coef_b[i]};
    std::vector<std::unique_ptr<PendingFile>> pending;
    for (const char* name : {"MLCoef_Red_Layer_", "MLCoef_Green_Layer_", "MLCoef_Blue_Layer_"}) {
      pending.push_back(std::make_unique<PendingFile>(
          final_prefix + name + std::to_string(layer) + ".png", beside + name + "0.png"));
    }
    if (const int32_t status = one.ExportCoef2Img(beside); status != 0) {
      throw Failure(Exit::kRefused, partition + ": no images, status " + std::to_string(status));
    }
    for (const std::unique_ptr<PendingFile>& file : pending) {
      file->Commit(CheckPng(file->temporary(), engine.coef_r[i].size()));
    }
  }
}

std::string ModeText(const Calibration& calibration) {
  std::string text = std::string("Mode: ") + NameOf(calibration.mode);
  if (calibration.mode == Mode::kWhite) {
    text += std::string(", ") + calibration.primaries + " primaries";
  }
  for (const int32_t level : calibration.order) {
    text += (level == calibration.order.front() ? "; levels in the order " : ", ") +
            std::to_string(level);
  }
  return text + "\n";
}

std::string TargetText(const std::array<double, 3>& white) {
  const double sum = white[0] + white[1] + white[2];
  return "Target white at full drive: X " + Fixed(white[0], 2) + ", Y " + Fixed(white[1], 2) +
         " cd/m^2, Z " + Fixed(white[2], 2) + " (x " + Fixed(white[0] / sum, 4) + ", y " +
         Fixed(white[1] / sum, 4) + ")\n";
}

std::string TargetText(const Targets& targets) {
  std::string text = "Target at full drive:";
  for (size_t colour = 0; colour < kColours.size(); ++colour) {
    text += std::string(colour == 0 ? " " : ", ") + kColours[colour] + " " +
            Fixed(targets.At(colour, 1), 2) + " cd/m^2 (" + Fixed(targets.luminance[colour], 2) +
            " less " + Percent(targets.decrease[colour], 1) + ")";
  }
  return text + "\n";
}

// Iterations photograph the wall between their steps: without one, there is nothing to compute.
std::optional<SimulatedWall> FindWall(const Job& job, Mode mode) {
  if (mode == Mode::kNorm) {
    return std::nullopt;
  }
  if (!fs::exists(job.TruthFile())) {
    throw Failure(Exit::kWrongCall,
                  "the mode " + std::string(NameOf(mode)) +
                      " photographs the corrected wall between its steps, and this job is of a "
                      "real one: it has no truth.toml. Take it step by step, with --step");
  }
  return std::make_optional<SimulatedWall>(job);
}

void CheckStep(const CalibrateOptions& options, const Job& job, Mode mode) {
  if (mode == Mode::kNorm || options.images) {
    throw Failure(Exit::kWrongCall, "--step is for the modes iterate and white, without --images");
  }
  if (options.simulate && !fs::exists(job.TruthFile())) {
    throw Failure(Exit::kWrongCall,
                  "--simulate photographs a simulated wall, and this job is of a real one: it has "
                  "no truth.toml");
  }
}

void RunCalibrate(const CalibrateOptions& options) {
  const Job job = ReadJob(options.job);
  const fs::path output = options.output.empty() ? job.Folder() : fs::path(options.output);
  Calibration calibration = Plan(options, job);
  if (options.step) {
    CheckStep(options, job, calibration.mode);
    RunStep(job, calibration, output, !options.order.empty(), options.simulate);
    return;
  }
  const std::optional<SimulatedWall> wall = FindWall(job, calibration.mode);
  if (calibration.mode == Mode::kWhite) {
    calibration.white = FindWhite(job, [&](const std::string& name) {
      simulation::MeasuredPrimaries primaries = wall->Primaries(wall->Partition(name));
      FullScale(primaries);
      return primaries;
    });
  } else {
    calibration.targets = FindTargets(job);
  }
  if (!output.empty()) {
    MakeFolder(output);
  }
  Table table({"partition", "color", "LEDs", "dead", "min", "mean", "max", "uncorrected"}, 2);
  const auto finish = [&](const std::string& name, const Dead& dead,
                          const MultiLayerCoeff& engine) {
    SaveCoefficients(output / (name + ".mlcoefs"), engine);
    if (options.images) {
      WriteImages(output / "images", name, engine);
    }
    AddRows(table, name, dead, engine);
  };
  if (wall) {
    const auto iterated = IterateWall(job, calibration, *wall);
    for (size_t i = 0; i < iterated.size(); ++i) {
      finish(job.partitions[i], iterated[i]->dead, iterated[i]->partition.engine);
    }
  } else {
    Progress progress("calibrate", job.partitions.size());
    for (const std::string& name : job.partitions) {
      MultiLayerCoeff engine;
      const Dead dead = ComputeNorm(job, calibration, name, engine);
      finish(name, dead, engine);
      progress.Step();
    }
  }
  SaveCalibration(output, calibration);
  PrintOut(ModeText(calibration) +
           (calibration.mode == Mode::kWhite ? TargetText(calibration.white)
                                             : TargetText(calibration.targets)) +
           "\n" + table.Text());
}

}  // namespace

void AddCalibrate(CommandLine& line) {
  auto options = std::make_shared<CalibrateOptions>();
  const Subcommand calibrate =
      line.Add("calibrate", "Compute the coefficients of all partitions of a wall",
               [options] { RunCalibrate(*options); });
  calibrate.Add("job", options->job, "The job file").Required().Named("wall.toml");
  calibrate.Add("--output", options->output, "Where the coefficients go [the job's folder]")
      .Named("FOLDER");
  calibrate
      .Add("--mode", options->mode,
           "norm: luminance, in one pass over all levels; iterate: luminance, level by\n"
           "level on the corrected wall; white: white balance, likewise")
      .ShowDefault()
      .OneOf({kModes[0], kModes[1], kModes[2]});
  calibrate
      .Add("--order", options->order,
           "Levels in the order of the steps of iterate and white [ascending]")
      .SplitAtCommas();
  calibrate
      .Add("--primaries", options->primaries,
           "White by the measured primaries of every LED, or by their mean [measured]")
      .OneOf({kPerLed, kMean});
  calibrate.AddFlag("--images", options->images,
                    "Also write every coefficient matrix as a PNG, in a folder images");
  const Argument step = calibrate.AddFlag(
      "--step", options->step,
      "Take one step of iterate or white, from measured files, and say what to measure next");
  calibrate
      .AddFlag("--simulate", options->simulate, "Let the simulated camera measure the step first")
      .Needs(step);
  calibrate.Footer(
      "Writes PARTITION.mlcoefs for every partition of the job, and calibration.toml, which says\n"
      "how they were computed. All partitions get the same targets, or their seams would show:\n"
      "from the highest captured level of the whole wall, or as the job file says. The modes\n"
      "iterate and white show a level through the coefficients so far, photograph it, and\n"
      "correct: a simulated wall at once, a real one step by step. Each call of --step reads the\n"
      "measurements of one step and says what to show next; calibration.toml keeps the count.\n"
      "The measurements stand beside the job file, for red, green and blue, or for X, Y and Z:\n"
      "  PARTITION_COLOR_LEVEL_stepN.meter        --mode iterate, CIE Y\n"
      "  PARTITION_white_PLANE_LEVEL_stepN.meter  --mode white, planes x, y, z\n"
      "  PARTITION_COLOR_PLANE_LEVEL.meter        --mode white, before all steps: the primaries\n"
      "with the level in three digits. The comments in a job file that simulate wrote explain "
      "every key;\n"
      "measurements of a real wall need no more than that file.\n\nExample:\n"
      "  multilayer calibrate demo/wall.toml --images\n"
      "  multilayer calibrate demo/wall.toml --mode white --output demo/white\n"
      "  multilayer calibrate demo/wall.toml --mode iterate --step --simulate");
}

}  // namespace multilayer::tool

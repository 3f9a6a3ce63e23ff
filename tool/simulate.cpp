// `multilayer simulate`: a job as a camera would leave it, of a wall that does not exist.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "simulation/measure.h"
#include "tool/calibration.h"
#include "tool/commands.h"
#include "tool/error.h"
#include "tool/files.h"
#include "tool/job.h"
#include "tool/step.h"
#include "tool/table.h"
#include "tool/truth.h"

namespace multilayer::tool {
namespace {

namespace fs = std::filesystem;

struct SimulateOptions {
  std::string folder;
  int32_t width = simulation::WallParameters().screen_w;
  int32_t height = simulation::WallParameters().screen_h;
  std::string partitions = "2x2";
  std::string shots = "1x1";
  std::vector<int32_t> levels = Job().levels;
  int32_t bit_width = Job().bit_width;
  int32_t coef_layers = 0;
  double gamma = Job().gamma;
  double electrons = simulation::CameraParameters().electrons;
  uint64_t seed = 1;
  bool primaries = false;
  bool force = false;
};

struct NamedPart {
  std::string name;
  PartRecord part;
};

struct Grid {
  int32_t cols = 0;
  int32_t rows = 0;
};

// "3x2" is three columns and two rows. Throws kWrongCall.
Grid ParseGrid(const char* option, const std::string& text, Grid largest, const char* limit) {
  Grid grid;
  int used = 0;
  const bool parsed = std::sscanf(text.c_str(), "%dx%d%n", &grid.cols, &grid.rows, &used) == 2;
  if (!parsed || static_cast<size_t>(used) != text.size() || grid.cols < 1 || grid.rows < 1 ||
      grid.cols > largest.cols || grid.rows > largest.rows) {
    throw Failure(Exit::kWrongCall, std::string(option) + " is " + text +
                                        ": must be COLUMNSxROWS, each 1 or more, " + limit);
  }
  return grid;
}

// As even as whole LEDs allow.
std::vector<NamedPart> Divide(const SimulateOptions& options) {
  const auto [cols, rows] =
      ParseGrid("--partitions", options.partitions, {options.width, options.height},
                "no more than the screen has LEDs");
  const size_t digits = std::to_string(std::max(cols, rows) - 1).size();
  const auto name = [digits](int32_t row, int32_t col) {
    std::string text = "p";
    for (const int32_t n : {row, col}) {
      const std::string number = std::to_string(n);
      text.append(digits - number.size(), '0').append(number);
    }
    return text;
  };
  const auto edge = [](int32_t size, int32_t i, int32_t n) {
    return static_cast<int32_t>(int64_t{size} * i / n);
  };
  std::vector<NamedPart> parts;
  for (int32_t row = 0; row < rows; ++row) {
    for (int32_t col = 0; col < cols; ++col) {
      const int32_t x = edge(options.width, col, cols);
      const int32_t y = edge(options.height, row, rows);
      parts.push_back({name(row, col),
                       {x, y, edge(options.width, col + 1, cols) - x,
                        edge(options.height, row + 1, rows) - y, options.width, options.height}});
    }
  }
  return parts;
}

Job MakeJob(const SimulateOptions& options, const std::vector<NamedPart>& parts) {
  Job job;
  job.file = fs::path(options.folder) / "wall.toml";
  job.levels = options.levels;
  std::sort(job.levels.begin(), job.levels.end());
  for (const NamedPart& part : parts) {
    job.partitions.push_back(part.name);
  }
  job.gamma = options.gamma;
  job.bit_width = options.bit_width;
  job.gamma_bits = options.bit_width;
  const auto levels = static_cast<int32_t>(job.levels.size());
  job.layers = options.coef_layers > 0 ? options.coef_layers : std::max(levels, 2);
  return job;
}

// What simulate writes, calibrate must take.
void CheckOptions(const Job& job) {
  CheckJobRules(job, [](const std::string& key, const std::string& value, const std::string& rule) {
    throw Failure(Exit::kWrongCall, key + " is " + value + ": must " + rule);
  });
}

// An earlier simulated job makes way: its measurements and coefficients would otherwise mix with
// the new ones. The job file goes first, so that an interrupted run leaves no job.
void RemoveEarlierJob(const Job& job, bool force) {
  if (!fs::exists(job.file)) {
    return;
  }
  if (!force) {
    throw Failure(Exit::kWrongCall, job.file.string() +
                                        ": there is a job already (--force "
                                        "overwrites a simulated one)");
  }
  if (!fs::exists(job.TruthFile())) {
    throw Failure(Exit::kWrongCall, job.file.string() +
                                        ": there is a job already, and it is no "
                                        "simulated one: it has no truth.toml");
  }
  const Job earlier = ReadJob(job.file);
  fs::remove(job.file);
  fs::remove(CalibrationFile(earlier.Folder()));
  RemoveSteps(earlier);
  for (const std::string& partition : earlier.partitions) {
    fs::remove(earlier.Folder() / (partition + ".mlcoefs"));
    for (size_t colour = 0; colour < kColours.size(); ++colour) {
      for (const int32_t level : earlier.levels) {
        fs::remove(earlier.MeterFile(partition, colour, level));
      }
    }
  }
}

void WritePartition(const Job& job, const simulation::Scene& scene, const NamedPart& part,
                    bool primaries) {
  const simulation::PartitionTruth truth = simulation::MakePartition(scene.wall, part.part);
  const simulation::MeasuredLayers measured = scene.Measure(truth, job.levels);
  for (size_t colour = 0; colour < kColours.size(); ++colour) {
    for (size_t i = 0; i < job.levels.size(); ++i) {
      SaveMeter(job.MeterFile(part.name, colour, job.levels[i]), measured[colour][i]);
    }
  }
  if (primaries) {
    SavePrimaries(job, part.name,
                  scene.MeasurePrimaries(truth, job.levels.back(), Shots(job).primaries));
  }
}

void RunSimulate(const SimulateOptions& options) {
  const std::vector<NamedPart> parts = Divide(options);
  const Job job = MakeJob(options, parts);
  CheckOptions(job);
  const Grid shots = ParseGrid("--shots", options.shots, {16, 16}, "16 at most");
  Truth truth;
  truth.wall.seed = options.seed;
  truth.wall.screen_w = options.width;
  truth.wall.screen_h = options.height;
  truth.camera.seed = options.seed;
  truth.camera.electrons = options.electrons;
  RemoveEarlierJob(job, options.force);
  MakeFolder(options.folder);
  simulation::Scene scene = MakeScene(job, truth);
  scene.shots = {shots.cols, shots.rows};
  Progress progress("simulate", parts.size());
  for (const NamedPart& part : parts) {
    WritePartition(job, scene, part, options.primaries);
    progress.Step();
  }
  WriteText(job.TruthFile(), TruthText(truth));
  WriteText(job.file, JobText(job));
  const size_t measurements = 3 * job.levels.size() + (options.primaries ? 9 : 0);
  PrintOut(job.file.string() + ": " + std::to_string(options.width) + " x " +
           std::to_string(options.height) + " LEDs in " + std::to_string(parts.size()) +
           " partitions, " + std::to_string(parts.size() * measurements) + " measurements\n");
}

}  // namespace

void AddSimulate(CommandLine& line) {
  auto options = std::make_shared<SimulateOptions>();
  const Subcommand simulate = line.Add("simulate", "Write the measurements of a simulated wall",
                                       [options] { RunSimulate(*options); });
  simulate.Add("folder", options->folder, "Where the job goes").Required().Named("FOLDER");
  simulate.Add("--width", options->width, "Columns of the screen, LEDs")
      .ShowDefault()
      .Within(1, 32768);
  simulate.Add("--height", options->height, "Rows of the screen, LEDs")
      .ShowDefault()
      .Within(1, 32768);
  simulate.Add("--partitions", options->partitions, "COLUMNSxROWS of partitions")
      .ShowDefault()
      .Named("CxR");
  simulate
      .Add("--shots", options->shots,
           "COLUMNSxROWS of the shots that one measurement is accumulated from, 16 at most "
           "each; the measurements are the same")
      .ShowDefault()
      .Named("CxR");
  simulate.AddFlag("--primaries", options->primaries,
                   "Also measure X, Y and Z of each primary, at the highest level");
  simulate.Add("--levels", options->levels, "Gray levels to photograph, 1 to 255")
      .SplitAtCommas()
      .ShowDefault();
  simulate.Add("--bit-width", options->bit_width, "Bits of the coefficient positions")
      .ShowDefault()
      .Within(16, 24);
  simulate.Add("--coef-layers", options->coef_layers,
               "Coefficient layers; as many as levels when not given");
  simulate.Add("--gamma", options->gamma, "Exponent of the display's gamma curve")
      .ShowDefault()
      .Within(0.1, 10.0);
  simulate
      .Add("--electrons", options->electrons,
           "Electrons of an LED in a photograph: noise 1 / sqrt(electrons)")
      .ShowDefault()
      .Within(100.0, 1e12);
  simulate.Add("--seed", options->seed, "Another seed, another wall and other noise")
      .ShowDefault()
      .Within(uint64_t{0}, uint64_t{9000000000000000000});
  simulate.AddFlag("--force", options->force, "Overwrite an earlier simulated job");
  simulate.Footer(
      "Writes FOLDER/wall.toml, one .meter file per partition, primary and level, and\n"
      "FOLDER/truth.toml, which only verify looks at. With --primaries, also\n"
      "FOLDER/PARTITION_COLOR_PLANE_LEVEL.meter for the planes x, y and z.\n\nExample:\n"
      "  multilayer simulate demo --width 320 --height 180 --partitions 3x2 --seed 7");
}

}  // namespace multilayer::tool

// `multilayer verify`: shows the corrected wall to the simulated camera and judges how even it is.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tool/commands.h"
#include "tool/error.h"
#include "tool/files.h"
#include "tool/inspection.h"
#include "tool/picture.h"
#include "tool/table.h"
#include "tool/white_inspection.h"

namespace multilayer::tool {
namespace {

namespace fs = std::filesystem;

struct VerifyOptions {
  std::string job;
  std::string coefficients;
  std::vector<int32_t> levels;
  int32_t shots = 16;
  bool json = false;
  bool pictures = false;
  int32_t picture_level = 0;
};

// The captured levels, those halfway between them, and one halfway below.
std::vector<int32_t> DefaultLevels(const Job& job) {
  std::vector<int32_t> levels;
  int32_t previous = 0;
  for (const int32_t level : job.levels) {
    levels.push_back((previous + level) / 2);
    levels.push_back(level);
    previous = level;
  }
  levels.erase(std::unique(levels.begin(), levels.end()), levels.end());
  return levels;
}

// What limits the levels below all captured ones, where the correction cannot know better.
std::string NoteOnLowLevels(const std::vector<LevelReport>& levels, int32_t lowest) {
  const bool shown = std::any_of(levels.begin(), levels.end(),
                                 [lowest](const auto& level) { return level.level < lowest; });
  return shown ? "Below gray " + std::to_string(lowest) +
                     ", the lowest captured level, its coefficient is held, while the LEDs' "
                     "turn-on time weighs\nmore and more: they come out too dark, and differ by "
                     "channel. To correct there, capture a darker level.\n"
               : "";
}

std::string TextOf(const Inspection& inspection, const std::vector<LevelReport>& levels,
                   int32_t lowest) {
  Table table({"gray", "color", "kind", "CV before", "after", "limit", "max/min", "after", "p1-p99",
               "after", "to target", "after", "verdict"},
              3);
  for (const LevelReport& level : levels) {
    for (size_t colour = 0; colour < kColours.size(); ++colour) {
      const PrimaryReport& report = level.primaries[colour];
      const auto against_target = [&](const Evenness& evenness) {
        return Percent(evenness.mean / report.target - 1, 2, true);
      };
      table.Add({std::to_string(level.level), kColours[colour],
                 level.captured         ? "captured"
                 : level.level < lowest ? "below"
                                        : "between",
                 Percent(report.before.variation, 3), Percent(report.after.variation, 3),
                 level.judged ? Percent(level.limit, 3) : "-", Fixed(report.before.MaxOverMin(), 3),
                 Fixed(report.after.MaxOverMin(), 3), Percent(report.before.Spread(), 2),
                 Percent(report.after.Spread(), 2), against_target(report.before),
                 against_target(report.after),
                 !level.judged          ? "not judged"
                 : level.Passes(colour) ? "good"
                                        : "OUT"});
    }
  }
  const auto& dead = inspection.dead;
  return table.Text() + "\nNoise of one photograph: " + Percent(inspection.noise, 3) + "; of the " +
         std::to_string(inspection.shots) +
         " averaged here: " + Percent(inspection.noise / std::sqrt(inspection.shots), 3) +
         "\nLEDs: " + std::to_string(inspection.leds) + "; dead and left out: red " +
         std::to_string(dead[0]) + ", green " + std::to_string(dead[1]) + ", blue " +
         std::to_string(dead[2]) + "\n" + NoteOnLowLevels(levels, lowest);
}

nlohmann::ordered_json ToJson(const Evenness& evenness, double target) {
  return {{"cv", evenness.variation},
          {"mean", evenness.mean},
          {"mean_over_target", evenness.mean / target},
          {"max_over_min", evenness.MaxOverMin()},
          {"p1_to_p99", evenness.Spread()}};
}

nlohmann::ordered_json ToJson(const Inspection& inspection, Mode mode,
                              const std::vector<LevelReport>& levels) {
  nlohmann::ordered_json rows = nlohmann::ordered_json::array();
  bool passed = true;
  for (const LevelReport& level : levels) {
    for (size_t colour = 0; colour < kColours.size(); ++colour) {
      const PrimaryReport& report = level.primaries[colour];
      nlohmann::ordered_json row = {{"level", level.level},
                                    {"color", kColours[colour]},
                                    {"captured", level.captured},
                                    {"target", report.target},
                                    {"before", ToJson(report.before, report.target)},
                                    {"after", ToJson(report.after, report.target)},
                                    {"judged", level.judged}};
      if (level.judged) {
        row["limit"] = level.limit;
        row["passed"] = level.Passes(colour);
        passed = passed && level.Passes(colour);
      }
      rows.push_back(row);
    }
  }
  return {{"mode", NameOf(mode)},
          {"leds", inspection.leds},
          {"dead", inspection.dead},
          {"shots", inspection.shots},
          {"noise", inspection.noise},
          {"passed", passed},
          {"rows", rows}};
}

// Throws with the first places that are out of tolerance, in words.
void Judge(const std::vector<LevelReport>& levels) {
  std::string places;
  size_t count = 0;
  for (const LevelReport& level : levels) {
    for (size_t colour = 0; colour < kColours.size(); ++colour) {
      if (level.Passes(colour)) {
        continue;
      }
      constexpr size_t kShown = 3;
      if (++count <= kShown) {
        places += (count == 1 ? "" : ", ") + std::string(kColours[colour]) + " at gray " +
                  std::to_string(level.level) + " (" +
                  Percent(level.primaries[colour].after.variation, 3) + ", limit " +
                  Percent(level.limit, 3) + ")";
      }
    }
  }
  if (count > 0) {
    throw Failure(Exit::kOutOfTolerance,
                  "the corrected wall is out of tolerance in " + std::to_string(count) +
                      (count == 1 ? " place: " : " places, first: ") + places);
  }
}

constexpr std::array<const char*, 3> kTitles = {"Red", "Green", "Blue"};

void WritePictures(const Inspection& inspection, const fs::path& folder, int32_t level) {
  for (size_t colour = 0; colour < kColours.size(); ++colour) {
    const WallMap& map = inspection.maps[colour];
    WallPicture picture;
    picture.title = std::string(kTitles[colour]) + ", gray " + std::to_string(level) +
                    ": luminance of every LED against the mean";
    picture.before = map.before;
    picture.after = map.after;
    picture.before_label =
        "Before: coefficient of variation " + Percent(map.report.before.variation, 2);
    picture.after_label =
        "After: coefficient of variation " + Percent(map.report.after.variation, 2);
    const fs::path path =
        folder / ("wall_" + std::string(kColours[colour]) + "_" + std::to_string(level) + ".png");
    WritePng(path, Draw(picture));
    std::fprintf(stderr, "multilayer: picture: %s\n", path.c_str());
  }
}

void WritePicture(const WhiteMap& map, const fs::path& folder) {
  const std::string level = std::to_string(map.level.level);
  WallPicture picture;
  picture.title = "White, gray " + level + ": luminance of every LED against the mean";
  picture.before = map.before;
  picture.after = map.after;
  picture.before_label = "Before: mean delta u'v' to the target " + Fixed(map.level.before.mean, 4);
  picture.after_label = "After: mean delta u'v' to the target " + Fixed(map.level.after.mean, 4);
  const fs::path path = folder / ("wall_white_" + level + ".png");
  WritePng(path, Draw(picture));
  std::fprintf(stderr, "multilayer: picture: %s\n", path.c_str());
}

void CheckLevels(const std::vector<int32_t>& levels, const Job& job) {
  const cv::Mat table = job.GammaTable();
  for (const int32_t level : levels) {
    if (level < 1 || level >= table.cols) {
      throw Failure(Exit::kWrongCall, "level " + std::to_string(level) + " must be 1 to " +
                                          std::to_string(table.cols - 1));
    }
  }
}

// Where a run looks; no picture is level 0.
struct Views {
  std::vector<int32_t> levels;
  int32_t picture;
};

void VerifyLuminance(const VerifyOptions& options, const CorrectedWall& wall, const Views& views) {
  Inspector inspector(wall, options.shots);
  const std::vector<LevelReport> reports = inspector.Run(views.levels);
  const Inspection& inspection = inspector.result();
  PrintOut(options.json ? ToJson(inspection, wall.calibration().mode, reports).dump(2) + "\n"
                        : TextOf(inspection, reports, wall.job().levels.front()));
  if (views.picture > 0) {
    inspector.Map(views.picture);
    WritePictures(inspection, wall.folder(), views.picture);
  }
  Judge(reports);
}

void VerifyWhite(const VerifyOptions& options, const CorrectedWall& wall, const Views& views) {
  WhiteInspector inspector(wall, options.shots);
  inspector.Run(views.levels);
  const WhiteInspection& inspection = inspector.result();
  PrintOut(options.json ? ToJson(inspection).dump(2) + "\n" : TextOf(inspection));
  if (views.picture > 0) {
    WritePicture(inspector.Map(views.picture), wall.folder());
  }
  Judge(inspection);
}

void RunVerify(const VerifyOptions& options) {
  const Job job = ReadJob(options.job);
  const std::vector<int32_t> levels = options.levels.empty() ? DefaultLevels(job) : options.levels;
  const int32_t picture_level = !options.pictures           ? 0
                                : options.picture_level > 0 ? options.picture_level
                                                            : job.levels[job.levels.size() / 2];
  CheckLevels(levels, job);
  if (options.pictures) {
    CheckLevels({picture_level}, job);
  }
  if (!fs::exists(job.TruthFile())) {
    throw Failure(Exit::kFileAccess,
                  job.TruthFile().string() +
                      ": is not there: verify shows a simulated wall, and this job is of a real "
                      "one. Photograph the corrected wall instead");
  }
  const fs::path coefficients =
      options.coefficients.empty() ? job.Folder() : fs::path(options.coefficients);
  const CorrectedWall wall(job, coefficients);
  const auto verify = wall.calibration().mode == Mode::kWhite ? VerifyWhite : VerifyLuminance;
  verify(options, wall, {levels, picture_level});
}

}  // namespace

void AddVerify(CommandLine& line) {
  auto options = std::make_shared<VerifyOptions>();
  const Subcommand verify = line.Add(
      "verify", "Show the corrected simulated wall to the camera, and judge how even it is",
      [options] { RunVerify(*options); });
  verify.Add("job", options->job, "The job file").Required().Named("wall.toml");
  verify
      .Add("--coefficients", options->coefficients,
           "Where calibrate put the coefficients [the job's folder]")
      .Named("FOLDER");
  verify
      .Add("--levels", options->levels,
           "Gray levels to look at [captured ones, and those halfway between]")
      .SplitAtCommas();
  verify.Add("--shots", options->shots, "Photographs to average").ShowDefault().Within(1, 10000);
  verify.AddFlag("--json", options->json, "Print one JSON object");
  verify.AddFlag("--pictures", options->pictures,
                 "Also write pictures of the wall, before and after, next to the coefficients");
  verify.Add("--picture-level", options->picture_level,
             "Gray level of the pictures [the middle captured one]");
  verify.Footer(
      "Prints, before and after the correction, for every level and primary of the whole wall:\n"
      "coefficient of variation (standard deviation / mean), max/min, spread from the 1st to the\n"
      "99th percentile, and the mean against the target; \"after\" stands beside each. Dead LEDs "
      "are counted and left out.\n\n"
      "Each figure comes from the mean of --shots photographs: the noise of n averaged ones is\n"
      "1/sqrt(n) of that of one, and adds to the squares. With 16, a wall as even as one\n"
      "photograph can make it reads 3 % worse than it is. Coefficients that come from one\n"
      "photograph a level carry that photograph's noise: the limits, [verify] in the job file, "
      "are\n"
      "multiples of it.\n\n"
      "Which mode the coefficients come from says calibration.toml beside them. Of a white\n"
      "balance, the figures are differences in CIE u'v': of every LED to the target, of\n"
      "neighbouring LEDs, and of the means of modules.\n\nExample:\n"
      "  multilayer verify demo/wall.toml --shots 64 --levels 64,128,255 --pictures\n"
      "  multilayer verify demo/wall.toml --coefficients demo/white --json");
}

}  // namespace multilayer::tool

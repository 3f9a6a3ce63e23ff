// `multilayer calibrate`: from the measurements of a wall to one coefficient file per partition.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#include <opencv2/core.hpp>

#include "simulation/measure.h"
#include "tool/commands.h"
#include "tool/error.h"
#include "tool/files.h"
#include "tool/job.h"
#include "tool/measurements.h"
#include "tool/picture.h"
#include "tool/table.h"

namespace multilayer::tool {
namespace {

namespace fs = std::filesystem;

struct CalibrateOptions {
  std::string job;
  std::string output;
  bool images = false;
};

void Compute(PartitionMeters& meters, const std::string& partition, MultiLayerCoeff& engine) {
  const std::vector<LedMeter*> red = simulation::Pointers(meters[0]);
  const std::vector<LedMeter*> green = simulation::Pointers(meters[1]);
  const std::vector<LedMeter*> blue = simulation::Pointers(meters[2]);
  if (const int32_t status = engine.Compute(&red, &green, &blue); status != 0) {
    throw Failure(
        Exit::kRefused,
        partition + ": the library refuses the measurements with status " + std::to_string(status));
  }
}

// LEDs that are flagged at any level.
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

void AddRows(Table& table, const std::string& partition, const PartitionMeters& meters,
             const MultiLayerCoeff& engine) {
  const std::vector<cv::Mat>* lists[] = {&engine.coef_r, &engine.coef_g, &engine.coef_b};
  for (size_t colour = 0; colour < kColours.size(); ++colour) {
    const CoefSummary summary = Summarise(*lists[colour]);
    table.Add({partition, kColours[colour], std::to_string(lists[colour]->front().total()),
               std::to_string(CountDead(meters[colour])), Fixed(summary.min, 4),
               Fixed(summary.mean, 4), Fixed(summary.max, 4), std::to_string(summary.uncorrected)});
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

std::string TargetText(const Targets& targets) {
  std::string text = "Target at full drive:";
  for (size_t colour = 0; colour < kColours.size(); ++colour) {
    text += std::string(colour == 0 ? " " : ", ") + kColours[colour] + " " +
            Fixed(targets.At(colour, 1), 2) + " cd/m^2 (" + Fixed(targets.luminance[colour], 2) +
            " less " + Percent(targets.decrease[colour], 1) + ")";
  }
  return text + "\n";
}

void RunCalibrate(const CalibrateOptions& options) {
  const Job job = ReadJob(options.job);
  const fs::path output = options.output.empty() ? job.Folder() : fs::path(options.output);
  const Targets targets = FindTargets(job);
  if (!output.empty()) {
    MakeFolder(output);
  }
  Table table({"partition", "color", "LEDs", "dead", "min", "mean", "max", "uncorrected"}, 2);
  {
    Progress progress("calibrate", job.partitions.size());
    for (const std::string& partition : job.partitions) {
      MultiLayerCoeff engine;
      engine.keep_response_segments = false;
      SetParameters(job, targets, engine);
      PartitionMeters meters = LoadPartition(job, partition);
      Compute(meters, partition, engine);
      SaveCoefficients(output / (partition + ".mlcoefs"), engine);
      if (options.images) {
        WriteImages(output / "images", partition, engine);
      }
      AddRows(table, partition, meters, engine);
      progress.Step();
    }
  }
  PrintOut(TargetText(targets) + "\n" + table.Text());
}

}  // namespace

Subcommand AddCalibrate(CLI::App& app) {
  CLI::App* calibrate =
      app.add_subcommand("calibrate", "Compute the coefficients of all partitions of a wall");
  auto options = std::make_shared<CalibrateOptions>();
  calibrate->add_option("job", options->job, "The job file")->required()->type_name("wall.toml");
  calibrate->add_option("--output", options->output, "Where the coefficients go [the job's folder]")
      ->type_name("FOLDER");
  calibrate->add_flag("--images", options->images,
                      "Also write every coefficient matrix as a PNG, in a folder images");
  calibrate->footer(
      "Writes PARTITION.mlcoefs for every partition of the job. All partitions get the same\n"
      "targets, or their seams would show: from the highest captured level of the whole wall, or\n"
      "as the job file says. The comments in a job file that simulate wrote explain every key;\n"
      "measurements of a real wall need no more than that file.\n\nExample:\n"
      "  multilayer calibrate demo/wall.toml --images");
  return {calibrate, [options] { RunCalibrate(*options); }};
}

}  // namespace multilayer::tool

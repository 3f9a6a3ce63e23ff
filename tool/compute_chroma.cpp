// `multilayer compute-chroma`: a single-layer chroma set from X, Y and Z of each primary.
#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <vector>

#include <opencv2/core.hpp>

#include "multilayer/coeff/chroma_coeff.h"
#include "multilayer/color/chroma.h"
#include "tool/arguments.h"
#include "tool/commands.h"
#include "tool/error.h"
#include "tool/files.h"
#include "tool/primaries.h"
#include "tool/scan.h"
#include "tool/sets.h"

namespace multilayer::tool {
namespace {

constexpr std::array<const char*, 4> kTargets = {"--red", "--green", "--blue", "--white"};

struct ComputeChromaOptions {
  std::vector<std::string> files;
  std::array<std::string, 4> targets;
  std::string weights = "1,1,1,1,1,1,1,1,1,1,1,1";
  std::string output;
};

std::array<float, 12> Targets(const std::array<std::string, 4>& texts) {
  std::array<float, 12> targets = {};
  for (size_t i = 0; i < texts.size(); ++i) {
    const std::vector<double> target = Numbers(kTargets[i], texts[i], 3);
    if (!(target[0] > 0 && target[1] >= 0 && target[2] > 0 && target[1] + target[2] <= 1)) {
      RefuseOption(kTargets[i], texts[i],
                   "be a luminance above 0 and a chromaticity: x from 0, y above 0, x + y up to 1");
    }
    std::copy(target.begin(), target.end(), targets.begin() + static_cast<std::ptrdiff_t>(3 * i));
  }
  return targets;
}

cv::Mat Weights(const std::string& text) {
  const std::vector<double> weights = Numbers("--weights", text, 12);
  for (const double weight : weights) {
    if (weight < 0) {
      RefuseOption("--weights", text, "be 0 or more, each");
    }
  }
  cv::Mat matrix;
  cv::Mat(weights).reshape(1, 4).convertTo(matrix, CV_32F);
  return matrix;
}

std::array<ChromaXYZ, 3> Bundle(const simulation::MeasuredPrimaries& measured,
                                const std::string& output) {
  std::array<ChromaXYZ, 3> bundles;
  for (size_t colour = 0; colour < bundles.size(); ++colour) {
    const auto& planes = measured[colour];
    RequireDone(bundles[colour].Combine(&planes[0], &planes[1], &planes[2]), output);
  }
  return bundles;
}

// What a dead primary measures is noise, and a mixture of noise is a glaring LED. Returns how many.
int LeaveDeadAlone(const simulation::MeasuredPrimaries& measured, ChromaCoeff& set) {
  const cv::Mat dead = DeadOf(measured, 0) | DeadOf(measured, 1) | DeadOf(measured, 2);
  for (size_t k = 0; k < set.coef.size(); ++k) {
    set.coef[k].setTo(k % 4 == 0 ? 1.0 : 0.0, dead);
  }
  return cv::countNonZero(dead);
}

int CountUnfitted(const ChromaCoeff& set) {
  cv::Mat zeros(set.coef[0].size(), CV_8UC1, cv::Scalar(255));
  for (const cv::Mat& plane : set.coef) {
    zeros &= plane == 0;
  }
  return cv::countNonZero(zeros);
}

void RunComputeChroma(const ComputeChromaOptions& options) {
  const std::array<float, 12> targets = Targets(options.targets);
  ChromaCoeff set;
  RequireDone(set.SetPara(Weights(options.weights), 0, 0, 0), options.output);
  const simulation::MeasuredPrimaries measured = LoadPrimaries(options.files, Planes::kAll);
  const std::array<ChromaXYZ, 3> bundles = Bundle(measured, options.output);
  RequireDone(set.Compute(targets.data(), bundles[0], bundles[1], bundles[2], *measured[0][1].part),
              options.output);
  const int dead = LeaveDeadAlone(measured, set);
  SaveSet(options.output, set);
  PrintOut(options.output + ": " + TextOf(set.part) +
           "; dead and not corrected: " + std::to_string(dead) +
           "; without a mixture, all zeros: " + std::to_string(CountUnfitted(set)) + "\n\n" +
           PlaneTable(RequireSound(options.output)));
}

}  // namespace

void AddComputeChroma(CommandLine& line) {
  auto options = std::make_shared<ComputeChromaOptions>();
  const Subcommand compute = line.Add(
      "compute-chroma", "Compute a chroma set: a 3 x 3 mixture of the primaries for every LED",
      [options] { RunComputeChroma(*options); });
  compute
      .Add("files", options->files,
           "CIE X, Y and Z of red, green and blue at one level, nine files in any order; "
           "eight without Z of red")
      .Required()
      .Count(8, 9)
      .EndsWith({".meter"})
      .Named("FILE.meter");
  for (size_t i = 0; i < kTargets.size(); ++i) {
    compute
        .Add(kTargets[i], options->targets[i],
             std::string("Target of ") + (kTargets[i] + 2) +
                 ": cd/m^2 at that level, CIE 1931 x and y")
        .Required()
        .Named("Y,x,y");
  }
  compute
      .Add("--weights", options->weights,
           "How much the Y, x and y of red, of green, blue and white weigh in the fit; by "
           "definition "
           "the targets are not weighted along: a weight of 2 for Y aims at half of it")
      .ShowDefault()
      .Named("12 NUMBERS");
  compute.Add("--output", options->output, "Where the set goes")
      .Required()
      .EndsWith({kChroma})
      .Named("OUT.chromacoeff");
  compute.Footer(
      "\"green from red\" is the share of the red primary in corrected green. An LED whose "
      "primaries do\nnot span the colours gets zeros; one with a dead primary is not corrected. "
      "gamut finds targets\nthat every LED reaches: give all partitions of a wall the same.\n\n"
      "Example:\n"
      "  multilayer compute-chroma demo/p00_{red,green,blue}_{x,y,z}_255.meter --red "
      "220,0.68,0.31 \\\n    --green 540,0.21,0.70 --blue 55,0.14,0.06 --white 815,0.3127,0.3290 "
      "--output p00.chromacoeff");
}

}  // namespace multilayer::tool

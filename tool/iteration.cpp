// Parameters of a step, targets, and the simulated loop.
#include "tool/iteration.h"

#include <algorithm>

#include <opencv2/core.hpp>

#include "simulation/gamut.h"
#include "tool/error.h"
#include "tool/table.h"

namespace multilayer::tool {
namespace {

// Shares of the mean primaries in the white: none may be missing.
void CheckGamut(const std::string& partition, const std::array<float, 9>& means,
                const cv::Vec3d& white) {
  cv::Matx33d columns;
  for (int i = 0; i < 9; ++i) {
    columns(i % 3, i / 3) = static_cast<double>(means[static_cast<size_t>(i)]);
  }
  const cv::Vec3d shares = columns.inv() * white;
  if (!(shares[0] > 0 && shares[1] > 0 && shares[2] > 0)) {
    throw Failure(Exit::kRefused,
                  partition +
                      ": its primaries cannot mix the target white: one of them would have "
                      "to be negative");
  }
}

std::array<double, 3> WhiteOf(const Job& job, const std::string& partition,
                              const simulation::MeasuredPrimaries& primaries) {
  const std::array<float, 9> means = simulation::MeanPrimaries(primaries);
  if (!(means[1] > 0 && means[4] > 0 && means[7] > 0)) {
    throw Failure(Exit::kRefused, partition + ": there is no LED of which all primaries live");
  }
  const auto [x, y] = job.chromaticity;
  std::array<double, 3> white = {x / y, 1, (1 - x - y) / y};
  white = job.white.value_or(white);
  CheckGamut(partition, means, {white[0], white[1], white[2]});
  if (!job.white) {
    const std::array<float, 3> reachable =
        simulation::ReachableWhite(primaries, x, y, 1 - job.white_reach_percentile / 100);
    std::copy(reachable.begin(), reachable.end(), white.begin());
  }
  return white;
}

void Require(int32_t status, const char* what) {
  if (status != 0) {
    throw Failure(Exit::kRefused, std::string("the library refuses the ") + what + " with status " +
                                      std::to_string(status));
  }
}

}  // namespace

std::array<double, 3> FindWhite(const Job& job, const PrimariesOf& primaries) {
  Progress progress("white", job.partitions.size());
  std::array<double, 3> least = {};
  for (const std::string& partition : job.partitions) {
    const std::array<double, 3> white = WhiteOf(job, partition, primaries(partition));
    if (least[1] == 0 || white[1] < least[1]) {
      least = white;
    }
    progress.Step();
  }
  return least;
}

void FullScale(simulation::MeasuredPrimaries& primaries) {
  for (simulation::MeasuredColour& colour : primaries) {
    std::for_each(colour.begin(), colour.end(), simulation::DivideByDrive);
  }
}

void SetParameters(const Job& job, const Calibration& calibration,
                   simulation::MeasuredPrimaries* primaries, PartitionEngine& partition) {
  MultiLayerCoeff& engine = partition.engine;
  if (calibration.mode != Mode::kWhite) {
    SetParameters(job, calibration.targets, calibration.order, calibration.steps, engine);
    return;
  }
  partition.matrix = simulation::MeanPrimaries(*primaries);
  std::transform(calibration.white.begin(), calibration.white.end(), partition.white.begin(),
                 [](double value) { return static_cast<float>(value); });
  Require(engine.SetParamWhite(job.GammaTable(), partition.matrix.data(), partition.white.data(),
                               calibration.order, job.layers, calibration.steps, job.bit_width),
          "parameters");
  if (calibration.primaries == kPerLed) {
    Require(simulation::SetPrimaries(engine, *primaries), "primaries");
  }
}

SimulatedWall::SimulatedWall(const Job& job)
    : job_(job), truth_(ReadTruth(job.TruthFile())), scene_(MakeScene(job, truth_)), shots_(job) {}

simulation::PartitionTruth SimulatedWall::Partition(const std::string& name) const {
  const LedMeter meter = LoadMeasurement(job_, name, 0, job_.levels.back());
  return simulation::MakePartition(truth_.wall, *meter.part);
}

simulation::MeasuredPrimaries SimulatedWall::Primaries(
    const simulation::PartitionTruth& partition) const {
  return scene_.MeasurePrimaries(partition, job_.levels.back(), shots_.primaries);
}

std::array<LedMeter, 3> SimulatedWall::Photograph(Mode mode,
                                                  const simulation::PartitionTruth& partition,
                                                  int32_t level,
                                                  const simulation::Correction& shown,
                                                  int32_t step) const {
  const uint64_t shot = shots_.steps + static_cast<uint64_t>(step);
  if (mode == Mode::kWhite) {
    return scene_.MeasureWhite(partition, level, shown, shot);
  }
  simulation::MeasuredLayers layers = scene_.Measure(partition, {level}, shown, shot);
  return {std::move(layers[0].front()), std::move(layers[1].front()), std::move(layers[2].front())};
}

}  // namespace multilayer::tool

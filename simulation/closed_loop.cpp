// Steps of the iterations, from photographs.
#include "simulation/closed_loop.h"

#include <algorithm>
#include <cassert>
#include <vector>

#include <opencv2/core.hpp>

namespace multilayer::simulation {
namespace {

// None before the first step, whatever an earlier run has left.
Correction CorrectionOfStep(const MultiLayerCoeff& engine) {
  return engine.iterate_count == 0 ? Correction{} : CorrectionOf(engine);
}

bool StepLeft(const MultiLayerCoeff& engine) {
  return engine.iterate_count <= engine.capture_layer_num;
}

// By hand: the matrix library's last bits differ between processors.
void Scale(cv::Mat& values, double factor) {
  for (int row = 0; row < values.rows; ++row) {
    auto* const value = values.ptr<float>(row);
    std::transform(value, value + values.cols, value,
                   [factor](float v) { return static_cast<float>(v * factor); });
  }
}

}  // namespace

int32_t LevelOfStep(const MultiLayerCoeff& engine) {
  assert(engine.iterate_count >= 0 && StepLeft(engine));
  const auto place = static_cast<size_t>(std::max(0, engine.iterate_count - 1));
  return engine.captureLayer[static_cast<size_t>(engine.iterate_layer_order[place])];
}

void DivideByDrive(LedMeter& meter) { Scale(meter.chroma, 1.0 / meter.layer->linear_norms); }

void UsableMean::Add(const LedMeter& meter) {
  for (int row = 0; row < meter.chroma.rows; ++row) {
    const auto* const value = meter.chroma.ptr<float>(row);
    const auto* const state = meter.state.ptr<uint8_t>(row);
    for (int col = 0; col < meter.chroma.cols; ++col) {
      const bool usable = (state[col] & LED_USABLE) != 0;
      sum_ += usable ? static_cast<double>(value[col]) : 0.0;
      count_ += usable ? 1 : 0;
    }
  }
}

void Add(WallMeans& means, const std::array<LedMeter, 3>& photographs) {
  for (size_t primary = 0; primary < means.size(); ++primary) {
    means[primary].Add(photographs[primary]);
  }
}

void Align(LedMeter& meter, double from, double to) { Scale(meter.chroma, to / from); }

int32_t StepLuminance(MultiLayerCoeff& engine, std::array<LedMeter, 3> photographs,
                      const WallMeans& means) {
  std::array<std::vector<LedMeter*>, 3> lists;
  for (size_t primary = 0; primary < photographs.size(); ++primary) {
    LedMeter& meter = photographs[primary];
    Align(meter, means[primary].Value(), engine.InitY[3 * primary]);
    lists[primary] = {&meter};
  }
  return engine.Compute(&lists[0], &lists[1], &lists[2]);
}

int32_t StepWhite(MultiLayerCoeff& engine, MeasuredColour white) {
  std::for_each(white.begin(), white.end(), DivideByDrive);
  ChromaXYZ bundle;
  const int32_t status = bundle.Combine(&white[0], &white[1], &white[2]);
  return status != 0 ? status : engine.ComputeWhite(bundle, *white[0].part);
}

int32_t IterateLuminance(const Scene& scene, const PartitionTruth& partition,
                         MultiLayerCoeff& engine, uint64_t first_shot) {
  int32_t status = 0;
  while (status == 0 && StepLeft(engine)) {
    const uint64_t shot = first_shot + static_cast<uint64_t>(engine.iterate_count);
    MeasuredLayers shown =
        scene.Measure(partition, {LevelOfStep(engine)}, CorrectionOfStep(engine), shot);
    std::array<LedMeter, 3> photographs = {std::move(shown[0].front()), std::move(shown[1].front()),
                                           std::move(shown[2].front())};
    WallMeans means;
    Add(means, photographs);
    status = StepLuminance(engine, std::move(photographs), means);
  }
  return status;
}

int32_t IterateWhite(const Scene& scene, const PartitionTruth& partition, MultiLayerCoeff& engine,
                     uint64_t first_shot) {
  int32_t status = 0;
  while (status == 0 && StepLeft(engine)) {
    const uint64_t shot = first_shot + static_cast<uint64_t>(engine.iterate_count);
    status = StepWhite(
        engine, scene.MeasureWhite(partition, LevelOfStep(engine), CorrectionOfStep(engine), shot));
  }
  return status;
}

int32_t SetPrimaries(MultiLayerCoeff& engine, MeasuredPrimaries& primaries) {
  std::array<ChromaXYZ, 3> bundles;
  for (size_t primary = 0; primary < primaries.size(); ++primary) {
    MeasuredColour& records = primaries[primary];
    const cv::Mat dead = (records[1].state & LED_USABLE) == 0;
    for (LedMeter& meter : records) {
      meter.chroma.setTo(0.0, dead);
    }
    const int32_t status = bundles[primary].Combine(&records[0], &records[1], &records[2]);
    if (status != 0) {
      return status;
    }
  }
  return engine.SetRGBXYZ(bundles[0], bundles[1], bundles[2]);
}

}  // namespace multilayer::simulation

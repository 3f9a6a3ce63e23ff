// All measurements of a partition.
#include "simulation/measure.h"

#include <cassert>

#include <opencv2/core.hpp>

namespace multilayer::simulation {
namespace {

// One photograph through each filter.
MeasuredColour PhotographColour(const Scene& scene, const PartitionTruth& partition, size_t primary,
                                int32_t level, const Tristimulus& light, uint64_t shot) {
  const LayerRecord layer = {0, scene.controller.LinearNorm(level), level};
  const auto photograph = [&](size_t plane, int32_t type) {
    return scene.Take({scene.wall, partition.part, primary, layer, light[plane], type}, shot);
  };
  return {photograph(0, CIE_X), photograph(1, CIE_Y), photograph(2, CIE_Z)};
}

// The light of all primaries together, of which `luminance` is each one's.
template <class LuminanceOf>
Tristimulus Sum(const Scene& scene, const PartitionTruth& partition, LuminanceOf luminance) {
  Tristimulus sum;
  for (size_t primary = 0; primary < partition.primaries.size(); ++primary) {
    const Tristimulus light =
        scene.colours.Of(primary, partition.primaries[primary], luminance(primary));
    for (size_t plane = 0; plane < sum.size(); ++plane) {
      if (primary == 0) {
        sum[plane] = light[plane].clone();
      } else {
        sum[plane] += light[plane];
      }
    }
  }
  return sum;
}

}  // namespace

Correction CorrectionOf(const MultiLayerCoeff& engine) {
  const int32_t* const first = engine.pos_hardware.ptr<int32_t>(0);
  const std::vector<int32_t> positions(first, first + engine.pos_hardware.cols);
  return {CoefficientStack{positions, engine.coef_r}, CoefficientStack{positions, engine.coef_g},
          CoefficientStack{positions, engine.coef_b}};
}

std::vector<LedMeter*> Pointers(std::vector<LedMeter>& records) {
  std::vector<LedMeter*> pointers;
  pointers.reserve(records.size());
  for (LedMeter& record : records) {
    pointers.push_back(&record);
  }
  return pointers;
}

LedMeter Scene::Take(const Subject& subject, uint64_t number) const {
  if (shots == cv::Size(1, 1)) {
    return camera.Photograph(subject, number);
  }
  const Exposure exposure = camera.Meter(subject);
  LedMeter meter;
  for (const PatternRecord& pattern : SparsePatterns(subject.part, shots)) {
    const SparseShot sparse = camera.Shoot(subject, exposure, pattern, number);
    [[maybe_unused]] const int32_t status =
        meter.Add(&sparse.shot, sparse.pos_input.data(), sparse.chroma_input.data());
    assert(status == 0);
  }
  return meter;
}

cv::Mat Scene::Shine(const PartitionTruth& partition, size_t primary, int32_t level,
                     const Correction& correction) const {
  const cv::Size size(partition.part.w, partition.part.h);
  return Emit(wall, partition.primaries[primary],
              controller.Show(level, size, correction[primary]));
}

MeasuredLayers Scene::Measure(const PartitionTruth& partition, const std::vector<int32_t>& levels,
                              const Correction& correction, uint64_t first_shot) const {
  MeasuredLayers measured;
  for (size_t primary = 0; primary < measured.size(); ++primary) {
    int32_t index = 0;
    for (const int32_t level : levels) {
      const LayerRecord layer = {index, controller.LinearNorm(level), level};
      const uint64_t shot = first_shot + static_cast<uint64_t>(index);
      const cv::Mat light = Shine(partition, primary, level, correction);
      measured[primary].push_back(Take({wall, partition.part, primary, layer, light}, shot));
      ++index;
    }
  }
  return measured;
}

Tristimulus Scene::ShineWhite(const PartitionTruth& partition, int32_t level,
                              const Correction& correction) const {
  return Sum(*this, partition,
             [&](size_t primary) { return Shine(partition, primary, level, correction); });
}

Tristimulus Scene::ShineMixed(const PartitionTruth& partition, const std::array<int32_t, 3>& levels,
                              const ChromaCoeff& set) const {
  const cv::Size size(partition.part.w, partition.part.h);
  return Sum(*this, partition, [&](size_t primary) {
    return Emit(wall, partition.primaries[primary], controller.Mix(levels, size, set, primary));
  });
}

MeasuredColour Scene::MeasureWhite(const PartitionTruth& partition, int32_t level,
                                   const Correction& correction, uint64_t shot) const {
  return PhotographColour(*this, partition, kWhite, level, ShineWhite(partition, level, correction),
                          shot);
}

MeasuredPrimaries Scene::MeasurePrimaries(const PartitionTruth& partition, int32_t level,
                                          uint64_t shot) const {
  const auto measure = [&](size_t primary) {
    const Tristimulus light =
        colours.Of(primary, partition.primaries[primary], Shine(partition, primary, level, {}));
    return PhotographColour(*this, partition, primary, level, light, shot);
  };
  return {measure(0), measure(1), measure(2)};
}

}  // namespace multilayer::simulation

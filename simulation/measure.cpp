// All measurements of a partition.
#include "simulation/measure.h"

namespace multilayer::simulation {

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
      measured[primary].push_back(camera.Photograph(
          wall, partition, primary, layer, Shine(partition, primary, level, correction), shot));
      ++index;
    }
  }
  return measured;
}

}  // namespace multilayer::simulation

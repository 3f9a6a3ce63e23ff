// A step of the luminance iteration.
#include "bench/cases.h"
#include "bench/layers.h"
#include "multilayer/multi_layer/iteration_plain.h"

namespace multilayer::bench {
namespace {

class IterationStep : public Computation {
 public:
  explicit IterationStep(cv::Size size) : Computation(size) {
    for (size_t c = 0; c < 3; ++c) {
      records_[c] = Measured(size, c, kLevels.size() - 1);
      meters_[c] = {&records_[c]};
    }
    const Parameters& wall = WallParameters();
    Must(engine_.SetParam(wall.gamma_table, wall.ratios, wall.rgb_to_y.data(), kLevels, 0,
                          kCoefLayers, kBits));
    Shipped();  // step 0 makes the coefficients
  }

  void Start() override { StandBeforeStep(engine_); }

  void Shipped() override { Must(engine_.Compute(&meters_[0], &meters_[1], &meters_[2])); }

  bool HasPlain() const override { return true; }
  void Plain() override {
    Must(engine_.SetInput(&meters_[0], &meters_[1], &meters_[2]));
    IterationPlain(engine_);
  }

  Touched Memory() override {
    Touched memory;
    for (const LedMeter& record : records_) {
      memory.read.push_back(record.chroma);
      memory.read.push_back(record.state);
    }
    AddLayers(engine_, memory);
    return memory;
  }

 private:
  std::array<LedMeter, 3> records_;
  std::array<std::vector<LedMeter*>, 3> meters_;
  MultiLayerCoeff engine_;
};

}  // namespace

void AddIterationCases(std::vector<Case>& cases) {
  cases.push_back({"iteration step", Make<IterationStep>, true});
}

}  // namespace multilayer::bench

// Norm: all captured layers in one pass.
#include "bench/cases.h"
#include "bench/wall.h"
#include "multilayer/multi_layer/norm_plain.h"
#include "simulation/measure.h"

namespace multilayer::bench {
namespace {

class NormComputation : public Computation {
 public:
  explicit NormComputation(cv::Size size) : Computation(size) {
    for (size_t c = 0; c < 3; ++c) {
      for (size_t l = 0; l < kLevels.size(); ++l) {
        records_[c].push_back(Measured(size, c, l));
      }
      meters_[c] = simulation::Pointers(records_[c]);
    }
    const Parameters& wall = WallParameters();
    engine_.keep_response_segments = false;
    Must(engine_.SetParam(wall.gamma_table, wall.ratios, wall.rgb_to_y.data(), kLevels, kCoefLayers,
                          kBits));
  }

  void Shipped() override { Must(engine_.Compute(&meters_[0], &meters_[1], &meters_[2])); }

  // With its input assembly, as a computation is called.
  bool HasPlain() const override { return true; }
  void Plain() override {
    Must(engine_.SetInput(&meters_[0], &meters_[1], &meters_[2]));
    NormPlain(engine_);
    engine_.response_segments = {};
  }

  Touched Memory() override {
    Touched memory;
    for (const std::vector<LedMeter>& records : records_) {
      for (const LedMeter& record : records) {
        memory.read.push_back(record.chroma);
        memory.read.push_back(record.state);
      }
    }
    for (const Mats* coefs : {&engine_.coef_r, &engine_.coef_g, &engine_.coef_b}) {
      memory.written.insert(memory.written.end(), coefs->begin(), coefs->end());
    }
    return memory;
  }

 private:
  std::array<std::vector<LedMeter>, 3> records_;
  std::array<std::vector<LedMeter*>, 3> meters_;
  MultiLayerCoeff engine_;
};

}  // namespace

void AddNormCases(std::vector<Case>& cases) {
  cases.push_back({"norm", Make<NormComputation>, true});
}

}  // namespace multilayer::bench

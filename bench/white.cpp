// White steps: on all layers with one matrix and with measured primaries, and on a single layer.
// The time is compared with the LED-by-LED step by the matrix library, the bytes with WhitePlain,
// since the library's inverse rounds in another way.
#include "bench/cases.h"
#include "bench/layers.h"
#include "multilayer/color/white_plain.h"

namespace multilayer::bench {
namespace {

class WhiteStep : public Computation {
 public:
  WhiteStep(cv::Size size, bool with_primaries) : Computation(size), white_(MeasuredWhite(size)) {
    const Parameters& wall = WallParameters();
    Must(engine_.SetParamWhite(wall.gamma_table, wall.rgb_to_xyz.data(), wall.white.data(), kLevels,
                               kCoefLayers, 0, kBits));
    if (with_primaries) {
      primaries_ = MeasuredPrimaries(size);
      Must(engine_.SetRGBXYZ(primaries_[0], primaries_[1], primaries_[2]));
    }
    Must(engine_.ComputeWhite(white_, PartOf(size)));  // step 0 makes the coefficients
  }

  void Start() override { StandBeforeStep(engine_); }

  void Shipped() override { Must(engine_.ComputeWhite(white_, PartOf(size()))); }

  bool HasPlain() const override { return true; }
  void Plain() override { StepByLed(WhiteByMatrixLibrary); }
  bool HasOtherDefinition() const override { return true; }
  void Definition() override { StepByLed(WhitePlain); }

  Touched Memory() override {
    Touched memory = Inputs();
    AddLayers(engine_, memory);
    return memory;
  }

 protected:
  virtual std::vector<size_t> Layers() const { return {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}; }

  Touched Inputs() const {
    Touched memory;
    memory.read = {white_.X, white_.Y, white_.Z};
    for (const ChromaXYZ& primary : primaries_) {
      if (!primary.empty()) {
        memory.read.insert(memory.read.end(), {primary.X, primary.Y, primary.Z});
      }
    }
    return memory;
  }

  const ChromaXYZ& white() const { return white_; }
  MultiLayerCoeff& engine() { return engine_; }

 private:
  Matrix3 MatrixAt(int row, int col) const {
    Matrix3 m;
    for (size_t c = 0; c < 3; ++c) {
      const bool fixed = primaries_[c].empty();
      const float* all = &WallParameters().rgb_to_xyz[3 * c];
      m[0][c] = fixed ? all[0] : primaries_[c].X(row, col);
      m[1][c] = fixed ? all[1] : primaries_[c].Y(row, col);
      m[2][c] = fixed ? all[2] : primaries_[c].Z(row, col);
    }
    return m;
  }

  // One step, LED by LED, with the increments of `solve`.
  template <class Solve>
  void StepByLed(const Solve& solve) {
    const std::vector<size_t> layers = Layers();
    const std::array<float, 3>& target = WallParameters().white;
    Mats* const lists[] = {&engine_.coef_r, &engine_.coef_g, &engine_.coef_b};
    for (int row = 0; row < size().height; ++row) {
      for (int col = 0; col < size().width; ++col) {
        const std::array<float, 3> difference = {target[0] - white_.X(row, col),
                                                 target[1] - white_.Y(row, col),
                                                 target[2] - white_.Z(row, col)};
        const auto increments = solve(MatrixAt(row, col), difference);
        for (size_t c = 0; c < 3; ++c) {
          const float gain = static_cast<float>(1.0 + static_cast<double>(increments[c]));
          for (const size_t k : layers) {
            (*lists[c])[k].at<float>(row, col) += gain - 1.0F;
          }
        }
      }
    }
  }

  ChromaXYZ white_;
  std::array<ChromaXYZ, 3> primaries_;
  MultiLayerCoeff engine_;
};

class FixedWhiteStep : public WhiteStep {
 public:
  explicit FixedWhiteStep(cv::Size size) : WhiteStep(size, false) {}
};

class MeasuredWhiteStep : public WhiteStep {
 public:
  explicit MeasuredWhiteStep(cv::Size size) : WhiteStep(size, true) {}
};

// On the layer of one level, with one matrix.
class SingleGrayStep : public WhiteStep {
 public:
  explicit SingleGrayStep(cv::Size size) : WhiteStep(size, false) {}

  void Shipped() override { Must(engine().ComputeWhiteSingle(white(), kLevels[kLayer])); }

  Touched Memory() override {
    Touched memory = Inputs();
    memory.updated = {engine().coef_r[kLayer], engine().coef_g[kLayer], engine().coef_b[kLayer]};
    return memory;
  }

 protected:
  std::vector<size_t> Layers() const override { return {kLayer}; }

 private:
  static constexpr size_t kLayer = 5;
};

}  // namespace

void AddWhiteCases(std::vector<Case>& cases) {
  cases.push_back({"white step, one matrix", Make<FixedWhiteStep>, true});
  cases.push_back({"white step, measured primaries", Make<MeasuredWhiteStep>, true});
  cases.push_back({"single-gray step", Make<SingleGrayStep>, true});
}

}  // namespace multilayer::bench

// The chroma fit. The time is compared with the dense fit by the matrix library, the bytes with
// ChromaPlain.
#include "bench/cases.h"
#include "bench/wall.h"
#include "multilayer/coeff/chroma_coeff.h"
#include "multilayer/coeff/chroma_plain.h"

namespace multilayer::bench {
namespace {

// (Y, x, y) of red, green, blue and white: within what the wall's primaries can mix.
constexpr float kTargets[12] = {220.0F, 0.67F, 0.31F,  560.0F, 0.20F,   0.69F,
                                60.0F,  0.14F, 0.075F, 840.0F, 0.3127F, 0.329F};

class ChromaFit : public Computation {
 public:
  explicit ChromaFit(cv::Size size) : Computation(size), primaries_(MeasuredPrimaries(size)) {
    Must(set_.SetPara(weights_, 0, 0, 0));
    Shipped();
  }

  void Shipped() override {
    Must(set_.Compute(kTargets, primaries_[0], primaries_[1], primaries_[2], PartOf(size())));
  }

  bool HasPlain() const override { return true; }
  void Plain() override {
    FitByLed(
        [this](const LedPrimaries& led) { return ChromaByMatrixLibrary(kTargets, weights_, led); });
  }
  bool HasOtherDefinition() const override { return true; }
  void Definition() override {
    const ReachedColours reached = FitColours(kTargets, weights_);
    FitByLed([&](const LedPrimaries& led) { return ChromaPlain(reached, led); });
  }

  Touched Memory() override {
    Touched memory;
    for (const ChromaXYZ& primary : primaries_) {
      memory.read.insert(memory.read.end(), {primary.X, primary.Y, primary.Z});
    }
    memory.written.assign(set_.coef.begin(), set_.coef.end());
    return memory;
  }

 private:
  // The shares of `solve`, LED by LED.
  template <class Solve>
  void FitByLed(const Solve& solve) {
    for (int row = 0; row < size().height; ++row) {
      for (int col = 0; col < size().width; ++col) {
        LedPrimaries led;
        for (size_t p = 0; p < 3; ++p) {
          led[p] = {primaries_[p].X(row, col), primaries_[p].Y(row, col),
                    primaries_[p].Z(row, col)};
        }
        const auto shares = solve(led);
        for (size_t k = 0; k < shares.size(); ++k) {
          set_.coef[k].at<float>(row, col) = static_cast<float>(shares[k]);
        }
      }
    }
  }

  std::array<ChromaXYZ, 3> primaries_;
  cv::Mat weights_ = cv::Mat(4, 3, CV_32FC1, cv::Scalar(1));
  ChromaCoeff set_;
};

}  // namespace

void AddChromaCases(std::vector<Case>& cases) {
  cases.push_back({"chroma fit", Make<ChromaFit>, true});
}

}  // namespace multilayer::bench

// ChromaCoeff::Compute: the colours that the fit reaches, then the shares of every LED.
#include <opencv2/core.hpp>

#include "multilayer/coeff/chroma_coeff.h"
#include "multilayer/coeff/chroma_kernel.h"
#include "multilayer/coeff/chroma_targets.h"
#include "multilayer/coeff/coeff_set.h"
#include "multilayer/cpu/instruction_set.h"
#include "multilayer/io/fail.h"
#include "multilayer/io/renew.h"
#include "pellix/pellix.h"

namespace multilayer {
namespace {

constexpr int32_t kNoWeights = 601;

int32_t CheckBundles(const ChromaXYZ& r, const ChromaXYZ& g, const ChromaXYZ& b) {
  for (const ChromaXYZ* bundle : {&r, &g, &b}) {
    if (const int32_t status = ChromaXYZ::Check(bundle); status != 0) {
      return status;
    }
  }
  if (g.X.size() != r.X.size() || b.X.size() != r.X.size()) {
    return Fail(9, "ChromaCoeff::Compute--Error :: sizes of red, green and blue differ.");
  }
  return 0;
}

// All planes or, if memory runs out, none.
void Renew(std::array<cv::Mat, 9>& planes, cv::Size size) {
  std::array<cv::Mat, 9> made;
  for (size_t k = 0; k < planes.size(); ++k) {
    if (!IsRenewable(planes[k], size, CV_32FC1)) {
      made[k] = cv::Mat(size, CV_32FC1);
    }
  }
  for (size_t k = 0; k < planes.size(); ++k) {
    if (!made[k].empty()) {
      planes[k] = made[k];
    }
  }
}

}  // namespace

int32_t ChromaCoeff::Compute(const float* targets, const ChromaXYZ& r, const ChromaXYZ& g,
                             const ChromaXYZ& b, const PartRecord& p) {
  PellixInfo("ChromaCoeff::Compute");
  if (const int32_t status = CheckBundles(r, g, b); status != 0) {
    return status;
  }
  if (targets == nullptr) {
    return Fail(1, "ChromaCoeff::Compute--Error :: targets is nullptr.");
  }
  if (!IsFloatPlane(weights) || weights.size() != cv::Size(3, 4)) {
    return Fail(kNoWeights, "ChromaCoeff::Compute--Error :: no weights, SetPara comes first.");
  }
  const ReachedColours reached = FitColours(targets, weights);
  const cv::Size size = r.X.size();
  Renew(coef, size);
  part = p;
  if (!reached.determined) {
    for (cv::Mat& plane : coef) {
      plane.setTo(0.0);
    }
    return 0;
  }
  const auto mix = ForInstructionSet(ChooseInstructionSet(),
                                     []<InstructionSet kSet> { return &MixPrimaries<kSet>; });
  for (int row = 0; row < size.height; ++row) {
    ChromaRow leds = {};
    leds.count = static_cast<size_t>(size.width);
    const ChromaXYZ* const bundles[] = {&r, &g, &b};
    for (size_t c = 0; c < 3; ++c) {
      leds.primaries[c][0] = bundles[c]->X.ptr<float>(row);
      leds.primaries[c][1] = bundles[c]->Y.ptr<float>(row);
      leds.primaries[c][2] = bundles[c]->Z.ptr<float>(row);
    }
    for (size_t k = 0; k < coef.size(); ++k) {
      leds.shares[k] = coef[k].ptr<float>(row);
    }
    mix(reached, leds);
  }
  return 0;
}

}  // namespace multilayer

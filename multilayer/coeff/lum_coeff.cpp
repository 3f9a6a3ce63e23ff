// The luminance set: one factor for every LED and primary.
#include "multilayer/coeff/lum_coeff.h"

#include <opencv2/core.hpp>

#include "multilayer/coeff/coeff_set.h"
#include "multilayer/io/fail.h"
#include "multilayer/io/persistence.h"
#include "multilayer/io/transfer.h"
#include "pellix/pellix.h"

namespace multilayer {
namespace {

constexpr const char* kName = "LumCoeff";
constexpr FileFormat kFormat = {kName, ".lumcoeff"};

// The body in file order.
template <class Coeff>
auto Fields(Coeff& coeff) {
  return std::tie(coeff.coef_r, coeff.coef_g, coeff.coef_b, coeff.part);
}

constexpr uint32_t kInputChecks = CHECK_NOT_NULL | CHECK_CHROMA | CHECK_SAME_CHROMA_SIZE |
                                  CHECK_CIE_Y | CHECK_DIFFERENT_COLOR | CHECK_PART;

// One rounding: the float nearest to the quotient, infinity or NaN where 0 was measured.
cv::Mat Factors(float full_scale, const cv::Mat& measured) {
  cv::Mat factors;
  cv::divide(static_cast<double>(full_scale), measured, factors);
  return factors;
}

}  // namespace

int32_t LumCoeff::Compute(const float* init_y, const LedMeter* red, const LedMeter* green,
                          const LedMeter* blue) {
  PellixInfo("LumCoeff::Compute");
  if (const int32_t status = LedMeter::Check(kInputChecks, red, green, blue); status != 0) {
    return status;
  }
  if (init_y == nullptr) {
    return Fail(1, "LumCoeff::Compute--Error :: Input is nullptr.");
  }
  if (!IsFloatPlane(red->chroma) || !IsFloatPlane(green->chroma) || !IsFloatPlane(blue->chroma)) {
    return Fail(9, "LumCoeff::Compute--Error :: chroma is not a matrix of 32-bit floats.");
  }
  // New elements: a copy of this set may share the old ones.
  const cv::Mat factors_r = Factors(init_y[0], red->chroma);
  const cv::Mat factors_g = Factors(init_y[3], green->chroma);
  const cv::Mat factors_b = Factors(init_y[6], blue->chroma);
  coef_r = factors_r;
  coef_g = factors_g;
  coef_b = factors_b;
  part = *red->part;
  return 0;
}

int32_t LumCoeff::SetPara(int32_t p1, int32_t p2, int32_t p3) {
  PellixInfo("LumCoeff::SetPara");
  if (p1 < 0 || p2 < 0 || p3 < 0) {
    return 603;
  }
  para = {p1, p2, p3};
  return 0;
}

int32_t LumCoeff::Merge(const LumCoeff* other) {
  PellixInfo("LumCoeff::Merge");
  return MergeFactors(kName, ViewOf(this), ViewOf(other));
}

// The first rows of a take in the last rows of b.
int32_t LumCoeff::CombineDaul(LumCoeff* a, LumCoeff* b) {
  PellixInfo("LumCoeff::CombineDaul");
  const SetView target = ViewOf(a);
  const SetView source = ViewOf(b);
  if (const int32_t status = CheckPair(kName, target, source); status != 0) {
    return status;
  }
  if (a->part.y != b->part.y || a->part.w != b->part.w) {
    return Fail(604, "LumCoeff::CombineDaul--Error :: Input part data don't match.");
  }
  if (const int32_t status = CheckPlanes(kName, "CombineDaul", {target, source}); status != 0) {
    return status;
  }
  const int64_t n = int64_t{a->part.x} - b->part.x + a->coef_r.rows;
  // The weights sum to n, and nothing divides by it.
  BlendSeam(source, target, Lines::kRows, n, 1.0F);
  return 0;
}

int32_t LumCoeff::CombineAll(const std::vector<LumCoeff*>& list) {
  PellixInfo("LumCoeff::CombineAll");
  if (const int32_t status = CheckList(kName, ViewsOf(list)); status != 0) {
    return status;
  }
  CombinePairs(list);
  return 0;
}

int32_t LumCoeff::Assemble(const std::vector<LumCoeff*>& list, LumCoeff& out) {
  PellixInfo("LumCoeff::Assemble");
  SetView joined;
  if (const int32_t status = AssembleSets(kName, ViewsOf(list), {1, 1, 1}, joined); status != 0) {
    return status;
  }
  out.coef_r = joined.planes[0];
  out.coef_g = joined.planes[1];
  out.coef_b = joined.planes[2];
  out.part = joined.part;
  return 0;
}

int32_t LumCoeff::Save(const std::string& fullname) const {
  return SaveFile(kFormat, fullname, WriteFields(Fields(*this)));
}

int32_t LumCoeff::Load(const std::string& fullname) {
  return LoadFile(kFormat, fullname, ReadFields(Fields(*this)));
}

int32_t LumCoeff::ToBuffer(uint8_t* buffer, uint64_t* size) const {
  return WriteBuffer(kFormat, buffer, size, WriteFields(Fields(*this)));
}

int32_t LumCoeff::FromBuffer(const uint8_t* buffer, uint64_t size) {
  return ReadBuffer(kFormat, buffer, size, ReadFields(Fields(*this)));
}

int32_t LumCoeff::GetBufferSize(uint64_t* size) const {
  return MeasureBuffer(kFormat, size, ViewOf(this).empty(), WriteFields(Fields(*this)));
}

}  // namespace multilayer

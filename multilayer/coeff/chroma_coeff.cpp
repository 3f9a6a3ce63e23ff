// The chroma set, but for its fit: a 3 x 3 matrix for every LED.
#include "multilayer/coeff/chroma_coeff.h"

#include <algorithm>
#include <utility>

#include <opencv2/core.hpp>

#include "multilayer/coeff/coeff_set.h"
#include "multilayer/io/fail.h"
#include "multilayer/io/persistence.h"
#include "multilayer/io/transfer.h"
#include "pellix/pellix.h"

namespace multilayer {
namespace {

constexpr const char* kName = "ChromaCoeff";
constexpr FileFormat kFormat = {kName, ".chromacoeff"};

// The body in file order.
template <class Coeff>
auto Fields(Coeff& coeff) {
  return std::tie(coeff.coef, coeff.part);
}

// The entries of a matrix in the order of Set.
constexpr size_t kColumnByColumn[] = {0, 3, 6, 1, 4, 7, 2, 5, 8};

// The weights sum to n, which they are divided by. The first columns of the lower set take in the last columns of the upper one.
void BlendColumns(const SetView& upper, const SetView& lower) {
  const int64_t n = int64_t{upper.part.y} - lower.part.y + lower.planes[0].cols;
  BlendSeam(upper, lower, Lines::kColumns, n, static_cast<float>(n));
}

// The first rows of the right set take in the last rows of the left one.
void BlendRows(const SetView& left, const SetView& right) {
  const int64_t n = int64_t{left.part.x} - right.part.x + right.planes[0].rows;
  BlendSeam(left, right, Lines::kRows, n, static_cast<float>(n));
}

}  // namespace

int32_t ChromaCoeff::SetPara(const cv::Mat& weights, int32_t p1, int32_t p2, int32_t p3) {
  PellixInfo("ChromaCoeff::SetPara");
  if (!IsFloatPlane(weights) || weights.rows != 4 || weights.cols != 3) {
    return 601;
  }
  const auto begin = weights.begin<float>();
  if (std::any_of(begin, weights.end<float>(), [](float weight) { return weight < 0; })) {
    return 602;
  }
  if (p1 < 0 || p2 < 0 || p3 < 0) {
    return 603;
  }
  this->weights = weights;
  para = {p1, p2, p3};
  return 0;
}

int32_t ChromaCoeff::Set(int32_t rows, int32_t cols, const float* data, int32_t count) {
  PellixInfo("ChromaCoeff::Set");
  // Divided rather than multiplied: nine times the LEDs need not fit 64 bits.
  if (count % 9 != 0 || int64_t{rows} * cols != count / 9) {
    return 600;
  }
  if (data == nullptr) {
    return Fail(1, "ChromaCoeff::Set--Error :: Input is nullptr.");
  }
  if (rows < 0 || cols < 0) {
    return Fail(9, "ChromaCoeff::Set--Error :: size %d x %d is negative.", rows, cols);
  }
  // New elements: a copy of this set may share the old ones, and `data` may be theirs.
  std::array<cv::Mat, 9> planes;
  for (cv::Mat& plane : planes) {
    plane.create(rows, cols, CV_32FC1);
  }
  for (int row = 0; row < rows; ++row) {
    for (int col = 0; col < cols; ++col) {
      for (const size_t entry : kColumnByColumn) {
        planes[entry].at<float>(row, col) = *data++;
      }
    }
  }
  coef = std::move(planes);
  part.w = cols;
  part.h = rows;
  return 0;
}

int32_t ChromaCoeff::Merge(const LumCoeff* lum) {
  PellixInfo("ChromaCoeff::Merge");
  return MergeFactors(kName, ViewOf(this), ViewOf(lum));
}

int32_t ChromaCoeff::CombineDaul(ChromaCoeff* a, ChromaCoeff* b) {
  PellixInfo("ChromaCoeff::CombineDaul");
  SetView first = ViewOf(a);
  SetView second = ViewOf(b);
  if (const int32_t status = CheckPair(kName, first, second); status != 0) {
    return status;
  }
  const bool above = a->part.x == b->part.x && a->part.h == b->part.h;
  const bool beside = a->part.y == b->part.y && a->part.w == b->part.w;
  if (!above && !beside) {
    return Fail(604, "ChromaCoeff::CombineDaul--Error :: Input part data don't match.");
  }
  if (const int32_t status = CheckPlanes(kName, "CombineDaul", {first, second}); status != 0) {
    return status;
  }
  if (above ? b->part.y < a->part.y : b->part.x < a->part.x) {
    std::swap(first, second);
  }
  above ? BlendColumns(first, second) : BlendRows(first, second);
  return 0;
}

int32_t ChromaCoeff::CombineAll(const std::vector<ChromaCoeff*>& list) {
  PellixInfo("ChromaCoeff::CombineAll");
  if (const int32_t status = CheckList(kName, ViewsOf(list)); status != 0) {
    return status;
  }
  CombinePairs(list);
  return 0;
}

int32_t ChromaCoeff::Assemble(const std::vector<ChromaCoeff*>& list, ChromaCoeff& out) {
  PellixInfo("ChromaCoeff::Assemble");
  const std::vector<float> identity = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  SetView joined;
  if (const int32_t status = AssembleSets(kName, ViewsOf(list), identity, joined); status != 0) {
    return status;
  }
  std::move(joined.planes.begin(), joined.planes.end(), out.coef.begin());
  out.part = joined.part;
  return 0;
}

int32_t ChromaCoeff::Save(const std::string& fullname) const {
  return SaveFile(kFormat, fullname, WriteFields(Fields(*this)));
}

int32_t ChromaCoeff::Load(const std::string& fullname) {
  return LoadFile(kFormat, fullname, ReadFields(Fields(*this)));
}

int32_t ChromaCoeff::ToBuffer(uint8_t* buffer, uint64_t* size) const {
  return WriteBuffer(kFormat, buffer, size, WriteFields(Fields(*this)));
}

int32_t ChromaCoeff::FromBuffer(const uint8_t* buffer, uint64_t size) {
  return ReadBuffer(kFormat, buffer, size, ReadFields(Fields(*this)));
}

int32_t ChromaCoeff::GetBufferSize(uint64_t* size) const {
  return MeasureBuffer(kFormat, size, ViewOf(this).empty(), WriteFields(Fields(*this)));
}

}  // namespace multilayer

// Checks, products, seams and assembly of single-layer sets.
#include "multilayer/coeff/coeff_set.h"

#include <cstdlib>
#include <functional>
#include <limits>
#include <utility>

#include <opencv2/core.hpp>

#include "multilayer/coeff/chroma_coeff.h"
#include "multilayer/coeff/lum_coeff.h"
#include "multilayer/io/fail.h"

namespace multilayer {
namespace {

bool HasSize(const cv::Mat& plane, const cv::Mat& other) {
  return plane.rows == other.rows && plane.cols == other.cols;
}

bool HasFloatPlanes(const SetView& set) {
  return std::all_of(set.planes.begin(), set.planes.end(), [&set](const cv::Mat& plane) {
    return IsFloatPlane(plane) && HasSize(plane, set.planes[0]);
  });
}

// Whether any two of the planes stand in one block of memory, or in one that a caller brought.
bool MayShareElements(const std::vector<cv::Mat>& source, const std::vector<cv::Mat>& target) {
  std::vector<const cv::UMatData*> blocks;
  for (const std::vector<cv::Mat>* planes : {&source, &target}) {
    for (const cv::Mat& plane : *planes) {
      blocks.push_back(plane.u);
    }
  }
  std::sort(blocks.begin(), blocks.end());
  return blocks.front() == nullptr ||
         std::adjacent_find(blocks.begin(), blocks.end()) != blocks.end();
}

// What both LEDs of a seam become.
void Blend(float source_weight, float target_weight, float divisor, float& source, float& target) {
  target = (source_weight * source + target_weight * target) / divisor;
  source = target;
}

// Line k of a target of `lines` lines meets line `lines` - 1 - k of the source, for k from `first` to
// `end` - 1, in `places` places.
struct Seam {
  std::vector<cv::Mat> source;
  std::vector<cv::Mat> target;
  int64_t n;
  float divisor;
  int lines;
  int first;
  int end;
  int places;

  float SourceWeight(int k) const { return static_cast<float>(n - 1 - k); }
  float TargetWeight(int k) const { return static_cast<float>(int64_t{k} + 1); }

  // Weights and divisor are copied before a loop over LEDs: for all that the compiler knows, a store
  // of one float might change another, and nothing would be vectorised.
  void BlendRows() {
    const float by = divisor;
    for (int k = first; k < end; ++k) {
      const float source_weight = SourceWeight(k);
      const float target_weight = TargetWeight(k);
      for (size_t p = 0; p < target.size(); ++p) {
        auto* const from = source[p].ptr<float>(lines - 1 - k);
        auto* const to = target[p].ptr<float>(k);
        for (int place = 0; place < places; ++place) {
          Blend(source_weight, target_weight, by, from[place], to[place]);
        }
      }
    }
  }

  void BlendColumns() {
    std::vector<float> source_weights;
    std::vector<float> target_weights;
    for (int k = first; k < end; ++k) {
      source_weights.push_back(SourceWeight(k));
      target_weights.push_back(TargetWeight(k));
    }
    const float* const source_weight = source_weights.data();
    const float* const target_weight = target_weights.data();
    const float by = divisor;
    const int count = end - first;
    for (int place = 0; place < places; ++place) {
      for (size_t p = 0; p < target.size(); ++p) {
        auto* const last = source[p].ptr<float>(place) + (lines - 1 - first);
        auto* const to = target[p].ptr<float>(place) + first;
        for (int i = 0; i < count; ++i) {
          Blend(source_weight[i], target_weight[i], by, last[-i], to[i]);
        }
      }
    }
  }

  // Of LEDs that share memory the later ones see what the earlier ones became. So the order counts:
  // row by row of the target, in both modes.
  void BlendInOrder(bool rows) {
    const int height = rows ? end : places;
    const int width = rows ? places : end;
    for (int row = rows ? first : 0; row < height; ++row) {
      for (int col = rows ? 0 : first; col < width; ++col) {
        const int k = rows ? row : col;
        const int from_row = rows ? lines - 1 - row : row;
        const int from_col = rows ? col : lines - 1 - col;
        for (size_t p = 0; p < target.size(); ++p) {
          Blend(SourceWeight(k), TargetWeight(k), divisor, source[p].at<float>(from_row, from_col),
                target[p].at<float>(row, col));
        }
      }
    }
  }
};

// Columns and rows of the screen, in 64 bits: the edges of a partition need not fit its fields.
struct Box {
  int64_t left = std::numeric_limits<int64_t>::max();
  int64_t top = std::numeric_limits<int64_t>::max();
  int64_t right = std::numeric_limits<int64_t>::min();
  int64_t bottom = std::numeric_limits<int64_t>::min();
};

Box BoundingBox(const std::vector<SetView>& sets) {
  Box box;
  for (const SetView& set : sets) {
    const PartRecord& part = set.part;
    box.left = std::min<int64_t>(box.left, part.x);
    box.top = std::min<int64_t>(box.top, part.y);
    box.right = std::max(box.right, int64_t{part.x} + part.w);
    box.bottom = std::max(box.bottom, int64_t{part.y} + part.h);
  }
  return box;
}

// The partition of the box, turned upright; false if no matrix can hold it.
bool MakePartition(const Box& box, PartRecord& part) {
  const int64_t x = std::min(box.left, box.right);
  const int64_t y = std::min(box.top, box.bottom);
  const int64_t w = std::abs(box.right - box.left);
  const int64_t h = std::abs(box.bottom - box.top);
  constexpr int64_t kLeast = std::numeric_limits<int32_t>::min();
  if (w < 1 || h < 1 || w > kMaxLeds / h || x < kLeast || y < kLeast) {
    return false;
  }
  part.x = static_cast<int32_t>(x);
  part.y = static_cast<int32_t>(y);
  part.w = static_cast<int32_t>(w);
  part.h = static_cast<int32_t>(h);
  return true;
}

bool CoversLeds(const PartRecord& part) { return part.w > 0 && part.h > 0; }

bool Overlap(const PartRecord& a, const PartRecord& b) {
  const auto meet = [](int64_t a_begin, int64_t a_size, int64_t b_begin, int64_t b_size) {
    return a_begin < b_begin + b_size && b_begin < a_begin + a_size;
  };
  return meet(a.x, a.w, b.x, b.w) && meet(a.y, a.h, b.y, b.h);
}

// Whether the sets cover the box and no two of them overlap. More sets than anybody joins are not
// looked at in pairs: that would take longer than what is saved.
bool Tile(const std::vector<SetView>& sets, const PartRecord& box) {
  constexpr size_t kMostInPairs = 1000;
  std::vector<PartRecord> parts;
  int64_t leds = 0;
  for (const SetView& set : sets) {
    if (CoversLeds(set.part)) {
      parts.push_back(set.part);
      leds += int64_t{set.part.w} * set.part.h;
    }
  }
  if (leds != int64_t{box.w} * box.h || parts.size() > kMostInPairs) {
    return false;
  }
  for (auto a = parts.begin(); a != parts.end(); ++a) {
    if (std::any_of(parts.begin(), a, [a](const PartRecord& b) { return Overlap(*a, b); })) {
      return false;
    }
  }
  return true;
}

bool FillsPartition(const SetView& set) {
  return !CoversLeds(set.part) ||
         (set.planes[0].rows >= set.part.h && set.planes[0].cols >= set.part.w);
}

// A partition that covers an LED lies within the box, so its place there fits an int.
void Place(const SetView& set, SetView& out) {
  const PartRecord& part = set.part;
  if (!CoversLeds(part)) {
    return;
  }
  const auto x = static_cast<int>(int64_t{part.x} - out.part.x);
  const auto y = static_cast<int>(int64_t{part.y} - out.part.y);
  for (size_t p = 0; p < out.planes.size(); ++p) {
    set.planes[p](cv::Rect(0, 0, part.w, part.h))
        .copyTo(out.planes[p](cv::Rect(x, y, part.w, part.h)));
  }
}

}  // namespace

bool IsFloatPlane(const cv::Mat& mat) { return mat.dims == 2 && mat.type() == CV_32FC1; }

SetView ViewOf(const LumCoeff* set) {
  return set == nullptr ? SetView{} : SetView{{set->coef_r, set->coef_g, set->coef_b}, set->part};
}

SetView ViewOf(const ChromaCoeff* set) {
  return set == nullptr ? SetView{} : SetView{{set->coef.begin(), set->coef.end()}, set->part};
}

int32_t CheckPair(const char* class_name, const SetView& a, const SetView& b) {
  if (a.missing() || b.missing()) {
    return Fail(1, "%s::CombineDaul--Error :: Input is nullptr.", class_name);
  }
  if (a.empty() || b.empty()) {
    return Fail(12, "%s::CombineDaul--Error :: Input is empty.", class_name);
  }
  return 0;
}

int32_t CheckList(const char* class_name, const std::vector<SetView>& sets) {
  if (std::any_of(sets.begin(), sets.end(), std::mem_fn(&SetView::missing))) {
    return Fail(1, "%s::CombineAll--Error :: Input is nullptr.", class_name);
  }
  if (sets.empty() || std::any_of(sets.begin(), sets.end(), std::mem_fn(&SetView::empty))) {
    return Fail(12, "%s::CombineAll--Error :: Input is empty.", class_name);
  }
  return 0;
}

int32_t CheckPlanes(const char* class_name, const char* operation,
                    const std::vector<SetView>& sets) {
  if (!std::all_of(sets.begin(), sets.end(), HasFloatPlanes)) {
    return Fail(9, "%s::%s--Error :: Input planes are no 32-bit float matrices of one size.",
                class_name, operation);
  }
  return 0;
}

int32_t MergeFactors(const char* class_name, const SetView& own, const SetView& factors) {
  if (factors.missing()) {
    return Fail(1, "%s::Merge--Error :: Input is nullptr.", class_name);
  }
  if (factors.empty() || own.empty()) {
    return Fail(12, "%s::Merge--Error :: Input OR itself is empty.", class_name);
  }
  // Green is compared, by definition; the others need not end where it does, but must reach so far.
  const cv::Mat& green = own.planes[own.planes.size() / 2];
  const auto reaches = [&green](const cv::Mat& plane) {
    return plane.rows >= green.rows && plane.cols >= green.cols;
  };
  if (!HasSize(factors.planes[1], green) ||
      !std::all_of(own.planes.begin(), own.planes.end(), reaches) ||
      !std::all_of(factors.planes.begin(), factors.planes.end(), reaches)) {
    return Fail(9, "%s::Merge--Error :: Input matrix size mismatches the origin one.", class_name);
  }
  if (!std::all_of(own.planes.begin(), own.planes.end(), IsFloatPlane) ||
      !std::all_of(factors.planes.begin(), factors.planes.end(), IsFloatPlane)) {
    return Fail(9, "%s::Merge--Error :: Input planes are no 32-bit float matrices.", class_name);
  }
  const cv::Rect leds({0, 0}, green.size());
  for (size_t p = 0; p < own.planes.size(); ++p) {
    cv::Mat product = own.planes[p](leds);
    cv::multiply(product, factors.planes[p % 3](leds), product);
  }
  return 0;
}

void BlendSeam(const SetView& source, const SetView& target, Lines lines, int64_t n,
               float divisor) {
  const cv::Mat& from = source.planes[0];
  const cv::Mat& to = target.planes[0];
  const bool rows = lines == Lines::kRows;
  Seam seam = {};
  seam.source = source.planes;
  seam.target = target.planes;
  seam.n = n;
  seam.divisor = divisor;
  seam.lines = rows ? to.rows : to.cols;
  seam.first = std::max(0, seam.lines - (rows ? from.rows : from.cols));
  seam.end = static_cast<int>(std::clamp<int64_t>(n, 0, seam.lines));
  seam.places = rows ? std::min(from.cols, to.cols) : std::min(from.rows, to.rows);
  if (MayShareElements(seam.source, seam.target)) {
    seam.BlendInOrder(rows);
  } else {
    rows ? seam.BlendRows() : seam.BlendColumns();
  }
}

int32_t AssembleSets(const char* class_name, const std::vector<SetView>& sets,
                     const std::vector<float>& neutral, SetView& out) {
  if (const int32_t status = CheckList(class_name, sets); status != 0) {
    return status;
  }
  if (const int32_t status = CheckPlanes(class_name, "Assemble", sets); status != 0) {
    return status;
  }
  if (!std::all_of(sets.begin(), sets.end(), FillsPartition)) {
    return Fail(9, "%s::Assemble--Error :: Input matrix is smaller than its partition.",
                class_name);
  }
  SetView joined;
  joined.part = sets[0].part;
  if (!MakePartition(BoundingBox(sets), joined.part)) {
    return Fail(9, "%s::Assemble--Error :: Input parts span no LED or too many.", class_name);
  }
  const bool gaps = !Tile(sets, joined.part);
  for (const float value : neutral) {
    cv::Mat& plane = joined.planes.emplace_back(joined.part.h, joined.part.w, CV_32FC1);
    if (gaps) {
      plane.setTo(static_cast<double>(value));
    }
  }
  for (const SetView& set : sets) {
    Place(set, joined);
  }
  out = std::move(joined);
  return 0;
}

}  // namespace multilayer

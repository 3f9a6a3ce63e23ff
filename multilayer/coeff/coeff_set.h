// What the single-layer sets have in common: planes of floats over a partition, the checks of their
// arguments, and how several are put together. A set shows itself as a SetView; what sets it apart
// stays in its own source.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include <opencv2/core/mat.hpp>

#include "multilayer/io/metadata.h"

namespace multilayer {

class ChromaCoeff;
class LumCoeff;

// The planes are headers: they share the elements of the set's.
struct SetView {
  std::vector<cv::Mat> planes;  // none if there is no set
  PartRecord part;

  bool missing() const { return planes.empty(); }
  // No set, or one of which any plane is empty.
  bool empty() const {
    return missing() || std::any_of(planes.begin(), planes.end(),
                                    [](const cv::Mat& plane) { return plane.empty(); });
  }
};

// Planes in file order; null gives a missing set.
SetView ViewOf(const LumCoeff* set);
SetView ViewOf(const ChromaCoeff* set);

template <class Set>
std::vector<SetView> ViewsOf(const std::vector<Set*>& list) {
  std::vector<SetView> views;
  views.reserve(list.size());
  for (const Set* set : list) {
    views.push_back(ViewOf(set));
  }
  return views;
}

bool IsFloatPlane(const cv::Mat& mat);

// The checks return 0, or a status after one log line that begins with `class_name`.

// Of CombineDaul, but for the partitions: 1 missing, 12 empty.
int32_t CheckPair(const char* class_name, const SetView& a, const SetView& b);

// Of CombineAll, which Assemble shares with their messages: 12 no or empty sets, 1 missing.
int32_t CheckList(const char* class_name, const std::vector<SetView>& sets);

// Sets are loaded as they are found. 9 unless the planes of each are matrices of 32-bit floats of
// one size.
int32_t CheckPlanes(const char* class_name, const char* operation,
                    const std::vector<SetView>& sets);

// Multiplies plane k of `own` by plane k mod 3 of `factors`, the factors of red, green and blue, in
// place. 1 missing factors; 12 empty; 9 sizes or types.
int32_t MergeFactors(const char* class_name, const SetView& own, const SetView& factors);

// Blends the seam of two sets that CheckPlanes accepts, in both. Their lines are rows or columns,
// numbered from 0; of L lines of `target`, its line k meets line L - 1 - k of `source`, for k from
// 0 to n - 1, and both become ((n - 1 - k) source + (k + 1) target) / divisor, row by row, in
// single precision. Lines and places that one of the sets does not hold are left out.
enum class Lines { kRows, kColumns };
void BlendSeam(const SetView& source, const SetView& target, Lines lines, int64_t n, float divisor);

// Joins the sets into `out`, new planes over their bounding box; later ones overwrite. `neutral`: a
// value a plane, for LEDs that no set covers. Statuses as CheckList; 9 CheckPlanes, planes smaller
// than the partition, or a box that is no partition. `out` is untouched then.
int32_t AssembleSets(const char* class_name, const std::vector<SetView>& sets,
                     const std::vector<float>& neutral, SetView& out);

// CombineDaul for the pairs (i, j), i < j < n - 1 - i, of n sets, whatever it answers.
template <class Set>
void CombinePairs(const std::vector<Set*>& list) {
  const size_t n = list.size();
  for (size_t i = 0; i < n; ++i) {
    for (size_t j = i + 1; i + j + 1 < n; ++j) {
      Set::CombineDaul(list[i], list[j]);
    }
  }
}

}  // namespace multilayer

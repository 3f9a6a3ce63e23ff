// Sets to try the operations on, and their planes.
#pragma once

#include <vector>

#include <opencv2/core.hpp>

#include "multilayer/coeff/chroma_coeff.h"
#include "multilayer/coeff/lum_coeff.h"

namespace multilayer::testing {

using Planes = std::vector<cv::Mat>;

inline std::vector<cv::Mat*> PlanesOf(LumCoeff& set) {
  return {&set.coef_r, &set.coef_g, &set.coef_b};
}
inline std::vector<cv::Mat*> PlanesOf(ChromaCoeff& set) {
  std::vector<cv::Mat*> planes;
  for (cv::Mat& plane : set.coef) {
    planes.push_back(&plane);
  }
  return planes;
}

// The planes as they are now, in elements of their own.
template <class Set>
Planes CopyOf(Set& set) {
  Planes copies;
  for (const cv::Mat* plane : PlanesOf(set)) {
    copies.push_back(plane->clone());
  }
  return copies;
}

// Planes of `size` (the partition's unless given) with different values everywhere.
template <class Set>
Set MakeSet(const PartRecord& part, uint64_t seed, cv::Size size = {}) {
  Set set;
  set.part = part;
  cv::RNG random(seed);
  for (cv::Mat* plane : PlanesOf(set)) {
    plane->create(size.empty() ? cv::Size(part.w, part.h) : size, CV_32FC1);
    random.fill(*plane, cv::RNG::UNIFORM, 0.5, 2.0);
  }
  return set;
}

}  // namespace multilayer::testing

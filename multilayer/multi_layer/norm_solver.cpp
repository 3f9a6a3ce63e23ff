// Sets the kernel up: the constants of each layer, and how it may divide by them.
#include "multilayer/multi_layer/norm_solver.h"

#include <cmath>
#include <limits>

namespace multilayer {
namespace {

// m >= target for a float m is the same as m >= this, without widening m.
float SmallestFloatNotBelow(double target) {
  const auto nearest = static_cast<float>(target);
  return static_cast<double>(nearest) < target
             ? std::nextafter(nearest, std::numeric_limits<float>::infinity())
             : nearest;
}

}  // namespace

NormSolver::NormSolver(const NormColour& colour, InstructionSet set)
    : solve_(ForInstructionSet(set, []<InstructionSet kSet> { return &SolveNorm<kSet>; })),
      gray_max_(colour.gray_max),
      segments_(2 * colour.drive.size() * kNormTile),
      range_(colour.drive.size()) {
  double below = 0;
  for (const double drive : colour.drive) {
    ascending_ = ascending_ && drive > below;
    captures_.push_back({drive, MakeDivisor(drive - below)});
    below = drive;
  }
  for (size_t k = 0; k < colour.target.size(); ++k) {
    // Positions are whole numbers: quotients of numerators beyond a Divisor's range are 0 or infinite
    // as floats, divided or multiplied.
    targets_.push_back({colour.target[k], SmallestFloatNotBelow(colour.target[k]),
                        MakeDivisor(colour.position[k])});
  }
}

InstructionSet NormSolver::Solve(const NormRow& row, size_t count) {
  NormWork work = {};
  work.captures = captures_.data();
  work.capture_count = captures_.size();
  work.targets = targets_.data();
  work.target_count = targets_.size();
  work.gray_max = gray_max_;
  work.ascending = ascending_;
  work.slope = segments_.data();
  work.intercept = segments_.data() + captures_.size() * kNormTile;
  work.range = range_.data();
  work.chroma = row.chroma.data();
  work.state = row.state.data();
  work.coef = row.coef.data();
  work.segments = row.segments.empty() ? nullptr : row.segments.data();
  work.count = count;
  return solve_(work);
}

}  // namespace multilayer

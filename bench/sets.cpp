// The single-layer sets: the luminance factors; merging, blending and joining sets of both kinds.
#include <type_traits>

#include "bench/cases.h"
#include "bench/wall.h"
#include "multilayer/coeff/chroma_coeff.h"
#include "multilayer/coeff/coeff_set.h"
#include "multilayer/coeff/coeff_set_plain.h"
#include "multilayer/coeff/lum_coeff.h"

namespace multilayer::bench {
namespace {

template <class Set>
const Mats PlanesOf(const Set& set) {
  return ViewOf(&set).planes;
}

// Luminance factors of the wall.
LumCoeff MakeSet(cv::Size size, const LumCoeff*) {
  const LedMeter red = Measured(size, 0, kLevels.size() - 1);
  const LedMeter green = Measured(size, 1, kLevels.size() - 1);
  const LedMeter blue = Measured(size, 2, kLevels.size() - 1);
  LumCoeff set;
  Must(set.Compute(WallParameters().rgb_to_y.data(), &red, &green, &blue));
  return set;
}

// Shares near the identity: what they are does not matter to what is measured here.
ChromaCoeff MakeSet(cv::Size size, const ChromaCoeff*) {
  ChromaCoeff set;
  cv::RNG random(1);
  for (size_t k = 0; k < set.coef.size(); ++k) {
    const double share = k % 4 == 0 ? 0.9 : 0.02;
    set.coef[k].create(size, CV_32FC1);
    random.fill(set.coef[k], cv::RNG::UNIFORM, 0.9 * share, 1.1 * share);
  }
  set.part = PartOf(size);
  return set;
}

template <class Set>
Set MakeSet(cv::Size size) {
  return MakeSet(size, static_cast<const Set*>(nullptr));
}

// A copy with elements of its own.
template <class Set>
Mats CloneOf(const Set& set) {
  Mats planes;
  for (const cv::Mat& plane : PlanesOf(set)) {
    planes.push_back(plane.clone());
  }
  return planes;
}

template <class Set>
void Restore(const Mats& planes, const Set& set) {
  Mats own = PlanesOf(set);
  for (size_t p = 0; p < planes.size(); ++p) {
    planes[p].copyTo(own[p]);
  }
}

class LuminanceSet : public Computation {
 public:
  explicit LuminanceSet(cv::Size size) : Computation(size) {
    for (size_t c = 0; c < 3; ++c) {
      records_[c] = Measured(size, c, kLevels.size() - 1);
    }
    Shipped();
  }

  void Shipped() override {
    Must(set_.Compute(WallParameters().rgb_to_y.data(), &records_[0], &records_[1], &records_[2]));
  }

  bool HasPlain() const override { return true; }
  void Plain() override {
    const std::array<float, 9>& full_scale = WallParameters().rgb_to_y;
    set_.coef_r = FactorsPlain(full_scale[0], records_[0].chroma);
    set_.coef_g = FactorsPlain(full_scale[3], records_[1].chroma);
    set_.coef_b = FactorsPlain(full_scale[6], records_[2].chroma);
  }

  Touched Memory() override {
    return {.read = {records_[0].chroma, records_[1].chroma, records_[2].chroma},
            .updated = {},
            .written = PlanesOf(set_),
            .made_anew = true};
  }

 private:
  std::array<LedMeter, 3> records_;
  LumCoeff set_;
};

template <class Set>
class Merge : public Computation {
 public:
  explicit Merge(cv::Size size)
      : Computation(size),
        set_(MakeSet<Set>(size)),
        begin_(CloneOf(set_)),
        factors_(MakeSet<LumCoeff>(size)) {}

  void Start() override { Restore(begin_, set_); }

  void Shipped() override { Must(set_.Merge(&factors_)); }

  bool HasPlain() const override { return true; }
  void Plain() override {
    Mats planes = PlanesOf(set_);
    for (size_t p = 0; p < planes.size(); ++p) {
      MergePlain(PlanesOf(factors_)[p % 3], planes[p]);
    }
  }

  Touched Memory() override {
    return {.read = PlanesOf(factors_), .updated = PlanesOf(set_), .written = {}};
  }

 private:
  Set set_;
  Mats begin_;
  LumCoeff factors_;
};

// Two sets that overlap by all their lines, so that every LED of both is blended; the time is that
// for an LED of the seam. They lie beside each other on their rows or, `by_columns`, above.
template <class Set, bool by_columns = false>
class Combine : public Computation {
 public:
  explicit Combine(cv::Size size)
      : Computation(size), a_(MakeSet<Set>(size)), b_(MakeSet<Set>(size)), begin_(CloneOf(a_)) {
    if (by_columns) {
      b_.part.w += 1;
    } else {
      b_.part.h += 1;
    }
  }

  void Start() override {
    Restore(begin_, a_);
    Restore(begin_, b_);
  }

  void Shipped() override { Must(Set::CombineDaul(&a_, &b_)); }

  bool HasPlain() const override { return true; }
  void Plain() override {
    // The first of two luminance sets takes, of two chroma sets gives.
    const bool takes = std::is_same_v<Set, LumCoeff>;
    const int n = by_columns ? size().width : size().height;
    BlendPlain(ViewOf(takes ? &b_ : &a_), ViewOf(takes ? &a_ : &b_),
               by_columns ? Lines::kColumns : Lines::kRows, n, takes ? 1 : static_cast<float>(n));
  }

  Touched Memory() override {
    Touched memory;
    memory.updated = PlanesOf(a_);
    const Mats others = PlanesOf(b_);
    memory.updated.insert(memory.updated.end(), others.begin(), others.end());
    return memory;
  }

 private:
  Set a_;
  Set b_;
  Mats begin_;
};

// The left and the right half of the wall.
template <class Set>
class Assemble : public Computation {
 public:
  explicit Assemble(cv::Size size)
      : Computation(size),
        left_(MakeSet<Set>({size.width / 2, size.height})),
        right_(MakeSet<Set>({size.width - size.width / 2, size.height})) {
    right_.part.x = left_.part.w;
    Shipped();
  }

  void Shipped() override { Must(Set::Assemble({&left_, &right_}, joined_)); }

  bool HasPlain() const override { return true; }
  void Plain() override {
    const SetView out = ViewOf(&joined_);
    const std::vector<float> ones(out.planes.size(), 1);  // the halves leave no gap
    AssemblePlain({ViewOf(&left_), ViewOf(&right_)}, ones, out);
  }

  Touched Memory() override {
    Touched memory = {
        .read = PlanesOf(left_), .updated = {}, .written = PlanesOf(joined_), .made_anew = true};
    const Mats others = PlanesOf(right_);
    memory.read.insert(memory.read.end(), others.begin(), others.end());
    return memory;
  }

 private:
  Set left_;
  Set right_;
  Set joined_;
};

}  // namespace

void AddSetCases(std::vector<Case>& cases) {
  cases.push_back({"luminance set", Make<LuminanceSet>});
  cases.push_back({"merge, luminance", Make<Merge<LumCoeff>>});
  cases.push_back({"merge, chroma", Make<Merge<ChromaCoeff>>});
  cases.push_back({"combine, luminance", Make<Combine<LumCoeff>>});
  cases.push_back({"combine, chroma, rows", Make<Combine<ChromaCoeff>>});
  cases.push_back({"combine, chroma, columns", Make<Combine<ChromaCoeff, true>>});
  cases.push_back({"assemble, luminance", Make<Assemble<LumCoeff>>});
  cases.push_back({"assemble, chroma", Make<Assemble<ChromaCoeff>>});
}

}  // namespace multilayer::bench

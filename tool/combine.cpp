// `multilayer combine`: the seams of neighbouring sets blended, so that they do not show.
#include <algorithm>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "tool/commands.h"
#include "tool/error.h"
#include "tool/files.h"
#include "tool/sets.h"
#include "tool/table.h"

namespace multilayer::tool {
namespace {

namespace fs = std::filesystem;

struct CombineOptions {
  std::vector<std::string> files;
  std::string output;
};

// Lines that the library blends of two sets: k of the one with k of the other, in weights that sum
// to `weights`.
struct Seam {
  const char* lines = nullptr;
  int64_t count = 0;
  int64_t weights = 0;
};

// `n` as the definition has it, from the partitions; no more lines than the sets have.
Seam MakeSeam(const char* lines, int64_t n, int target, int source, bool normalised) {
  const int64_t count = std::min<int64_t>(n, target) - std::max(0, target - source);
  return {lines, std::max<int64_t>(0, count), normalised ? 1 : n};
}

Seam SeamOf(const LumCoeff& a, const LumCoeff& b) {
  if (a.part.y != b.part.y || a.part.w != b.part.w) {
    return {};
  }
  const int64_t n = int64_t{a.part.x} - b.part.x + a.coef_r.rows;
  return MakeSeam("rows", n, a.coef_r.rows, b.coef_r.rows, /*normalised=*/false);
}

Seam SeamOf(const ChromaCoeff& a, const ChromaCoeff& b) {
  const bool stacked = a.part.x == b.part.x && a.part.h == b.part.h;
  const bool beside = a.part.y == b.part.y && a.part.w == b.part.w;
  if (!stacked && !beside) {
    return {};
  }
  const bool in_order = stacked ? a.part.y <= b.part.y : a.part.x <= b.part.x;
  const ChromaCoeff& first = in_order ? a : b;
  const ChromaCoeff& second = in_order ? b : a;
  const cv::Mat& from = first.coef[0];
  const cv::Mat& to = second.coef[0];
  return stacked ? MakeSeam("columns", int64_t{first.part.y} - second.part.y + to.cols, to.cols,
                            from.cols, /*normalised=*/true)
                 : MakeSeam("rows", int64_t{first.part.x} - second.part.x + to.rows, to.rows,
                            from.rows, /*normalised=*/true);
}

// Every file under its own name in the folder. An input is never overwritten: blending twice is not
// blending.
std::vector<fs::path> Targets(const CombineOptions& options) {
  std::set<fs::path> inputs;
  for (const std::string& file : options.files) {
    inputs.insert(fs::weakly_canonical(file));
  }
  std::set<fs::path> names;
  std::vector<fs::path> targets;
  for (const std::string& file : options.files) {
    targets.push_back(options.output / fs::path(file).filename());
    if (!names.insert(targets.back()).second) {
      throw Failure(Exit::kWrongCall, targets.back().string() + " would be written twice");
    }
    if (inputs.count(fs::weakly_canonical(targets.back())) > 0) {
      throw Failure(Exit::kWrongCall,
                    targets.back().string() + " is an input: --output must be another folder");
    }
  }
  return targets;
}

struct Pair {
  size_t first;
  size_t second;
};

// Of more than two sets, the pairs are those that CombineAll tries.
std::vector<Pair> PairsOf(size_t count) {
  if (count == 2) {
    return {{0, 1}};
  }
  std::vector<Pair> pairs;
  for (size_t i = 0; i < count; ++i) {
    for (size_t j = i + 1; j + i + 1 < count; ++j) {
      pairs.push_back({i, j});
    }
  }
  return pairs;
}

template <class Set>
std::string Describe(const CombineOptions& options, const std::vector<Set>& sets) {
  const std::vector<Pair> pairs = PairsOf(sets.size());
  Table table({"first", "second", "blended", "weights sum to"}, 3);
  size_t blended = 0;
  for (const auto& [first, second] : pairs) {
    const Seam seam = SeamOf(sets[first], sets[second]);
    if (seam.count > 0) {
      ++blended;
      table.Add({fs::path(options.files[first]).filename().string(),
                 fs::path(options.files[second]).filename().string(),
                 std::to_string(seam.count) + " " + seam.lines, std::to_string(seam.weights)});
    }
  }
  return (blended == 0 ? "" : table.Text() + "\n") + std::to_string(blended) + " of " +
         std::to_string(pairs.size()) + (pairs.size() == 1 ? " pair" : " pairs") + " blended, " +
         std::to_string(sets.size()) + " sets in " + options.output + "\n";
}

template <class Set>
void Blend(const CombineOptions& options, std::vector<Set>& sets) {
  if (sets.size() > 2) {
    RequireDone(Set::CombineAll(Pointers(sets)), options.output);
  } else if (Set::CombineDaul(&sets[0], &sets[1]) != 0) {
    throw Failure(Exit::kRefused, options.files[1] + ": " + TextOf(sets[1].part) +
                                      " are no neighbour of the " + TextOf(sets[0].part) + " of " +
                                      options.files[0]);
  }
}

template <class Set>
void Combine(const CombineOptions& options) {
  const std::vector<fs::path> targets = Targets(options);
  std::vector<Set> sets = LoadSets<Set>(options.files);
  Blend(options, sets);
  MakeFolder(options.output);
  std::vector<std::unique_ptr<PendingFile>> pending;
  for (size_t i = 0; i < sets.size(); ++i) {
    pending.push_back(StageSet(targets[i], sets[i]));
  }
  for (const std::unique_ptr<PendingFile>& file : pending) {
    file->Rename();
  }
  PrintOut(Describe(options, sets));
}

void RunCombine(const CombineOptions& options) {
  if (options.files.size() < 2) {
    throw Failure(Exit::kWrongCall, "there must be two sets or more to combine");
  }
  ForSetOf(options.files.front(),
           [&](const auto& set) { Combine<std::decay_t<decltype(set)>>(options); });
}

}  // namespace

void AddCombine(CommandLine& line) {
  auto options = std::make_shared<CombineOptions>();
  const Subcommand combine = line.Add("combine", "Blend the seams between sets of partitions",
                                      [options] { RunCombine(*options); });
  combine.Add("files", options->files, "Sets of one type, in the order of the screen")
      .Required()
      .EndsWith({kLum, kChroma})
      .Named("FILE");
  combine
      .Add("--output", options->output,
           "Where the blended sets go, each under its own name; not over the inputs")
      .Required()
      .Named("FOLDER");
  combine.Footer(
      "Two sets are that pair, which must be neighbours. Of n sets, numbered from 0, the pairs "
      "are\n"
      "(i, j) with i < j < n - 1 - i, as far as they are neighbours: not every neighbour, and "
      "never\n"
      "the last set. Luminance sets are neighbours with equal part.y and part.w, and blend rows: "
      "the\nfirst ones of the set named first with the last ones of the other. Their weights are "
      "not\n"
      "normalised: they sum to the n of the seam, and blended factors become up to n times as "
      "large.\nChroma sets are neighbours with equal part.x and part.h, which blend columns, or "
      "equal "
      "part.y\nand part.w, which blend rows, in weights that sum to 1. n is part.x (rows) or "
      "part.y "
      "(columns)\nof the one less that of the other plus the lines of the set; nothing is blended "
      "where it is\nbelow 1. All sets are written, blended or not.\n\nExample:\n"
      "  multilayer combine p*.lumcoeff --output combined");
}

}  // namespace multilayer::tool

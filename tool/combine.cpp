// `multilayer combine`: the seams of neighbouring sets blended, so that they do not show.
#include <algorithm>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "tool/arguments.h"
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

// What the library blends of two sets: nothing, rows or columns.
struct Seam {
  const char* mode = nullptr;
  int count = 0;
};

Seam SeamOf(const LumCoeff& a, const LumCoeff& b) {
  if (a.part.y != b.part.y || a.part.w != b.part.w) {
    return {};
  }
  return {"rows", a.part.x - b.part.x + a.coef_r.rows};
}

Seam SeamOf(const ChromaCoeff& a, const ChromaCoeff& b) {
  if (a.part.x == b.part.x && a.part.h == b.part.h) {
    const auto& [first, second] = std::minmax(a.part.y, b.part.y);
    return {"columns", first - second + a.coef[0].cols};
  }
  if (a.part.y == b.part.y && a.part.w == b.part.w) {
    const auto& [first, second] = std::minmax(a.part.x, b.part.x);
    return {"rows", first - second + a.coef[0].rows};
  }
  return {};
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
  Table table({"first", "second", "blended"}, 3);
  size_t blended = 0;
  for (const auto& [first, second] : pairs) {
    const Seam seam = SeamOf(sets[first], sets[second]);
    if (seam.count > 0) {
      ++blended;
      table.Add({fs::path(options.files[first]).filename().string(),
                 fs::path(options.files[second]).filename().string(),
                 std::to_string(seam.count) + " " + seam.mode});
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

Subcommand AddCombine(CLI::App& app) {
  CLI::App* combine = app.add_subcommand("combine", "Blend the seams between sets of partitions");
  auto options = std::make_shared<CombineOptions>();
  combine->add_option("files", options->files, "Sets of one type, in the order of the screen")
      ->required()
      ->check(EndsWith({kLum, kChroma}))
      ->type_name("FILE");
  combine
      ->add_option("--output", options->output,
                   "Where the blended sets go, each under its own name; not over the inputs")
      ->required()
      ->type_name("FOLDER");
  combine->footer("PLACEHOLDER");
  return {combine, [options] { RunCombine(*options); }};
}

}  // namespace multilayer::tool

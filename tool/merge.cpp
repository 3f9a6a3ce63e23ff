// `multilayer merge`: a set times a luminance set.
#include <cstring>
#include <memory>
#include <string>

#include "tool/commands.h"
#include "tool/error.h"
#include "tool/files.h"
#include "tool/scan.h"
#include "tool/sets.h"

namespace multilayer::tool {
namespace {

struct MergeOptions {
  std::string file;
  std::string factors;
  std::string output;
};

void RunMerge(const MergeOptions& options) {
  RequireSameType(options.output, options.file);
  ForSetOf(options.file, [&](auto set) {
    set = LoadSet<decltype(set)>(options.file);
    const auto factors = LoadSet<LumCoeff>(options.factors);
    if (std::memcmp(&factors.part, &set.part, sizeof(PartRecord)) != 0) {
      throw Failure(Exit::kRefused, options.factors + ": covers " + TextOf(factors.part) +
                                        ": must be the " + TextOf(set.part) + " of " +
                                        options.file);
    }
    RequireDone(set.Merge(&factors), options.output);
    SaveSet(options.output, set);
    PrintOut(options.output + ": " + TextOf(set.part) + "\n\n" +
             PlaneTable(RequireSound(options.output)));
  });
}

}  // namespace

void AddMerge(CommandLine& line) {
  auto options = std::make_shared<MergeOptions>();
  const Subcommand merge =
      line.Add("merge", "Multiply a set by a luminance set", [options] { RunMerge(*options); });
  merge.Add("set", options->file, "A luminance or chroma set")
      .Required()
      .EndsWith({kLum, kChroma})
      .Named("SET");
  merge.Add("factors", options->factors, "A luminance set of the same LEDs")
      .Required()
      .EndsWith({kLum})
      .Named("FACTORS.lumcoeff");
  merge.Add("--output", options->output, "Where the product goes, a set of SET's type")
      .Required()
      .EndsWith({kLum, kChroma})
      .Named("OUT");
  merge.Footer(
      "Of a chroma set, the shares of each primary are multiplied by its luminance factor.\n\n"
      "Example:\n  multilayer merge p00.chromacoeff p00.lumcoeff --output merged.chromacoeff");
}

}  // namespace multilayer::tool

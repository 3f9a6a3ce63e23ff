// `multilayer merge`: a set times a luminance set.
#include <cstring>
#include <memory>
#include <string>

#include "tool/arguments.h"
#include "tool/commands.h"
#include "tool/error.h"
#include "tool/files.h"
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

Subcommand AddMerge(CLI::App& app) {
  CLI::App* merge = app.add_subcommand("merge", "Multiply a set by a luminance set");
  auto options = std::make_shared<MergeOptions>();
  merge->add_option("set", options->file, "A luminance or chroma set")
      ->required()
      ->check(EndsWith({kLum, kChroma}))
      ->type_name("SET");
  merge->add_option("factors", options->factors, "A luminance set of the same LEDs")
      ->required()
      ->check(EndsWith({kLum}))
      ->type_name("FACTORS.lumcoeff");
  merge->add_option("--output", options->output, "Where the product goes, a set of SET's type")
      ->required()
      ->check(EndsWith({kLum, kChroma}))
      ->type_name("OUT");
  merge->footer(
      "Of a chroma set, the shares of each primary are multiplied by its luminance factor.\n\n"
      "Example:\n  multilayer merge p00.chromacoeff p00.lumcoeff --output merged.chromacoeff");
  return {merge, [options] { RunMerge(*options); }};
}

}  // namespace multilayer::tool

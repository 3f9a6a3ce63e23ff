// `multilayer gamut`: targets of a chroma set that every LED of a wall can reach.
#include "simulation/gamut.h"

#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include <opencv2/core.hpp>

#include "tool/arguments.h"
#include "tool/commands.h"
#include "tool/error.h"
#include "tool/files.h"
#include "tool/job.h"
#include "tool/primaries.h"
#include "tool/table.h"

namespace multilayer::tool {
namespace {

struct GamutOptions {
  std::vector<std::string> files;
  std::string white = "0.3127,0.3290";
};

using Place = std::tuple<int32_t, int32_t, int32_t, int32_t>;

// The files of each partition; what they have to be is checked when they are taken as primaries.
std::map<Place, std::vector<std::string>> ByPartition(const std::vector<std::string>& files) {
  std::map<Place, std::vector<std::string>> partitions;
  for (const std::string& file : files) {
    const LedMeter meter = LoadMeter(file);
    const PartRecord part = meter.part == nullptr ? PartRecord() : *meter.part;
    partitions[{part.y, part.x, part.w, part.h}].push_back(file);
  }
  return partitions;
}

std::string OptionsOf(const std::array<float, 12>& targets) {
  std::string text;
  for (size_t i = 0; i < 4; ++i) {
    const float* target = &targets[3 * i];
    text += std::string(i == 0 ? "--" : " --") + (i < 3 ? kColours[i] : "white") + " " +
            Fixed(target[0], 3) + "," + Fixed(target[1], 5) + "," + Fixed(target[2], 5);
  }
  return text;
}

void RunGamut(const GamutOptions& options) {
  const std::vector<double> white = Numbers("--white", options.white, 2);
  if (!(white[0] > 0 && white[1] > 0 && white[0] + white[1] < 1)) {
    RefuseOption("--white", options.white, "be x and y above 0, together below 1");
  }
  const auto partitions = ByPartition(options.files);
  std::unique_ptr<simulation::CommonGamut> gamut;
  for (const auto& [place, files] : partitions) {
    const simulation::MeasuredPrimaries primaries = LoadPrimaries(files, Planes::kAll);
    if (gamut == nullptr) {
      gamut = std::make_unique<simulation::CommonGamut>(simulation::MeanPrimaries(primaries),
                                                        white[0], white[1]);
    }
    gamut->Add(primaries);
  }
  if (!gamut->IsOpen()) {
    throw Failure(Exit::kRefused, "no LED of these files can mix the white " + options.white);
  }
  PrintOut(OptionsOf(gamut->Targets()) + "\n");
}

}  // namespace

void AddGamut(CommandLine& line) {
  auto options = std::make_shared<GamutOptions>();
  const Subcommand gamut =
      line.Add("gamut", "Find targets of chroma sets that every LED of a wall can reach",
               [options] { RunGamut(*options); });
  gamut
      .Add("files", options->files,
           "CIE X, Y and Z of red, green and blue at one level, of all partitions")
      .Required()
      .EndsWith({".meter"})
      .Named("FILE.meter");
  gamut.Add("--white", options->white, "Chromaticity of the white, CIE 1931")
      .ShowDefault()
      .Named("x,y");
  gamut.Footer(
      "Prints options for compute-chroma: each primary as far out as no living LED needs a "
      "negative\n"
      "share of another, the white as bright as no drive exceeds the measured level.\n\nExample:\n"
      "  targets=$(multilayer gamut demo/p*_{red,green,blue}_{x,y,z}_255.meter)\n"
      "  multilayer compute-chroma demo/p00_{red,green,blue}_{x,y,z}_255.meter $targets \\\n"
      "    --output p00.chromacoeff");
}

}  // namespace multilayer::tool

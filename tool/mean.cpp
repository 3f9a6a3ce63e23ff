// `multilayer mean`: several measurements of the same LEDs as one, with less noise.
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "multilayer/io/bio.h"
#include "multilayer/io/container.h"
#include "multilayer/meter/led_meter.h"
#include "tool/commands.h"
#include "tool/error.h"
#include "tool/files.h"
#include "tool/scan.h"

namespace multilayer::tool {
namespace {

namespace fs = std::filesystem;

struct MeanOptions {
  std::vector<std::string> files;
  std::string list;
  std::string output;
};

// Relative to the list's folder, so that a list moves along with what it names.
std::vector<std::string> ReadNames(const std::string& list) {
  std::vector<std::string> names;
  if (!BIO::ReadFullNameListTxt(list, names)) {
    throw Failure(Exit::kFileAccess, list + ": cannot be opened");
  }
  for (size_t i = 0; i < names.size(); ++i) {
    if (HasExtension(names[i], ".meter") != 0) {
      throw Failure(Exit::kBrokenFile, list + ": line " + std::to_string(i + 1) + " is " +
                                           (names[i].empty() ? "empty" : names[i]) +
                                           ": must end with .meter");
    }
    names[i] = (fs::path(list).parent_path() / names[i]).string();
  }
  return names;
}

// The library compares colour, type and size; of other LEDs or another level the mean says nothing.
void RequireAlike(const FileReport& report, const FileReport& first) {
  const auto require = [&](const std::string& field, const std::string& value,
                           const std::string& due) {
    if (value != due) {
      throw Failure(Exit::kRefused, report.path + ": " + field + " is " + value + ": must be " +
                                        due + ", as in " + first.path);
    }
  };
  const auto text = [](const FileReport& file, const char* field) {
    return file.header.contains(field) ? file.header[field].dump() : std::string("missing");
  };
  for (const char* field :
       {"color", "type", "part.x", "part.y", "part.w", "part.h", "layer.value"}) {
    require(field, text(report, field), text(first, field));
  }
  const auto size = [](const FileReport& file) {
    const MatrixReport& state = file.matrices.front();
    return std::to_string(state.cols) + "x" + std::to_string(state.rows);
  };
  require("size", size(report), size(first));
}

void RunMean(const MeanOptions& options) {
  std::vector<std::string> files = options.files;
  if (!options.list.empty()) {
    const std::vector<std::string> more = ReadNames(options.list);
    files.insert(files.end(), more.begin(), more.end());
  }
  if (files.empty()) {
    throw Failure(Exit::kWrongCall, "there is no measurement to take the mean of");
  }
  const FileReport first = RequireSound(files.front());
  for (size_t i = 1; i < files.size(); ++i) {
    RequireAlike(RequireSound(files[i]), first);
  }
  PendingFile pending(options.output);
  RequireDone(LedMeter::MeterMean(files, static_cast<int32_t>(files.size()), pending.temporary()),
              options.output);
  const FileReport mean = Scan(pending.temporary());
  if (!mean.problem.empty()) {
    throw Failure(Exit::kRefused, options.output + ": the sum of the measurements overflows");
  }
  pending.Commit(first.bytes);  // all but the values is as in the first
  PrintOut(options.output + ": the mean of " + std::to_string(files.size()) + " measurements\n");
}

}  // namespace

void AddMean(CommandLine& line) {
  auto options = std::make_shared<MeanOptions>();
  const Subcommand mean = line.Add("mean", "Average measurements of the same LEDs and level",
                                   [options] { RunMean(*options); });
  mean.Add("files", options->files, "Measurements of one color, type, partition and level")
      .EndsWith({".meter"})
      .Named("FILE.meter");
  mean.Add("--list", options->list,
           "A text file with more names, one a line, relative to its own folder")
      .Named("NAMES.txt");
  mean.Add("--output", options->output, "Where the mean goes")
      .Required()
      .EndsWith({".meter"})
      .Named("OUT.meter");
  mean.Footer(
      "Only the measured values are averaged: places, states and all else are those of the first\n"
      "file.\n\nExample:\n"
      "  multilayer mean shots/p00_red_255_*.meter --output p00_red_255.meter");
}

}  // namespace multilayer::tool

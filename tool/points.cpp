// `multilayer points`: where the camera saw the LEDs, as a picture.
#include <memory>
#include <string>

#include "multilayer/meter/led_meter.h"
#include "tool/commands.h"
#include "tool/error.h"
#include "tool/files.h"
#include "tool/picture.h"

namespace multilayer::tool {
namespace {

struct PointsOptions {
  std::string file;
  std::string output;
};

void RunPoints(const PointsOptions& options) {
  const LedMeter meter = LoadMeter(options.file);
  if (meter.pos.empty()) {
    throw Failure(Exit::kRefused, options.file + ": has no positions");
  }
  PendingFile pending(options.output);
  const int32_t status = meter.ExportPointImage(pending.temporary());
  if (status != 0) {
    throw Failure(Exit::kFileAccess, options.output + ": cannot be written");
  }
  pending.Commit(CheckPng(pending.temporary(), meter.pos.size()));
  PrintOut(options.output + ": the column in the camera image of " +
           std::to_string(meter.pos.total()) + " LEDs\n");
}

}  // namespace

void AddPoints(CommandLine& line) {
  auto options = std::make_shared<PointsOptions>();
  const Subcommand points =
      line.Add("points", "Draw where the camera saw the LEDs of a measurement",
               [options] { RunPoints(*options); });
  points.Add("file", options->file, "A measurement with positions")
      .Required()
      .EndsWith({".meter"})
      .Named("FILE.meter");
  points.Add("--output", options->output, "Where the picture goes")
      .Required()
      .EndsWith({".png"})
      .Named("OUT.png");
  points.Footer(
      "One pixel an LED; its gray is the LED's column in the camera image, white the farthest. An\n"
      "LED that was found in a wrong place breaks the ramp.\n\nExample:\n"
      "  multilayer points p00_red_255.meter --output points.png");
}

}  // namespace multilayer::tool

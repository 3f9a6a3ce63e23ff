// `multilayer repair`: values for LEDs that could not be measured, from their neighbours.
#include <memory>
#include <string>

#include <opencv2/core.hpp>

#include "multilayer/meter/led_meter.h"
#include "tool/commands.h"
#include "tool/error.h"
#include "tool/files.h"

namespace multilayer::tool {
namespace {

struct RepairOptions {
  std::string file;
  std::string output;
};

void RunRepair(const RepairOptions& options) {
  LedMeter meter = LoadMeter(options.file);
  RequireDone(meter.FixDeadPoint(), options.file);
  SaveMeter(options.output, meter);
  PrintOut(options.output + ": " +
           std::to_string(cv::countNonZero(meter.state & cv::Scalar(LED_DEAD))) + " of " +
           std::to_string(meter.state.total()) + " LEDs repaired\n");
}

}  // namespace

void AddRepair(CommandLine& line) {
  auto options = std::make_shared<RepairOptions>();
  const Subcommand repair =
      line.Add("repair", "Give the dead LEDs of a measurement the median of their neighbourhood",
               [options] { RunRepair(*options); });
  repair.Add("file", options->file, "The measurement")
      .Required()
      .EndsWith({".meter"})
      .Named("FILE.meter");
  repair.Add("--output", options->output, "Where it goes; may be the same file")
      .Required()
      .EndsWith({".meter"})
      .Named("OUT.meter");
  repair.Footer(
      "Dead is an LED whose state has bit 0 set; it stays marked. Its value becomes the median of\n"
      "the 3 x 3 LEDs around it, dead ones included.\n\nExample:\n"
      "  multilayer repair demo/p00_red_255.meter --output repaired.meter");
}

}  // namespace multilayer::tool

// `multilayer compute-lum`: a single-layer luminance set from one measurement of each primary.
#include <array>
#include <memory>
#include <string>
#include <vector>

#include <opencv2/core.hpp>

#include "multilayer/coeff/lum_coeff.h"
#include "tool/arguments.h"
#include "tool/commands.h"
#include "tool/error.h"
#include "tool/files.h"
#include "tool/primaries.h"
#include "tool/scan.h"
#include "tool/sets.h"

namespace multilayer::tool {
namespace {

struct ComputeLumOptions {
  std::vector<std::string> files;
  std::string luminance;
  std::string output;
};

void RunComputeLum(const ComputeLumOptions& options) {
  const std::vector<double> luminance = Numbers("--luminance", options.luminance, 3);
  std::array<float, 9> init_y = {};
  for (size_t colour = 0; colour < luminance.size(); ++colour) {
    if (!(luminance[colour] > 0)) {
      RefuseOption("--luminance", options.luminance, "be above 0");
    }
    init_y[3 * colour] = static_cast<float>(luminance[colour]);
  }
  const simulation::MeasuredPrimaries measured = LoadPrimaries(options.files, Planes::kLuminance);
  LumCoeff set;
  RequireDone(set.Compute(init_y.data(), &measured[0][1], &measured[1][1], &measured[2][1]),
              options.output);
  // What a dead LED measures is noise, and full scale over noise would glare if it ever lit.
  cv::Mat* const factors[] = {&set.coef_r, &set.coef_g, &set.coef_b};
  int dead = 0;
  for (size_t colour = 0; colour < 3; ++colour) {
    const cv::Mat left_alone = DeadOf(measured, colour);
    factors[colour]->setTo(1.0, left_alone);
    dead += cv::countNonZero(left_alone);
  }
  SaveSet(options.output, set);
  PrintOut(options.output + ": " + TextOf(set.part) + "; dead and not corrected: " +
           std::to_string(dead) + "\n\n" + PlaneTable(RequireSound(options.output)));
}

}  // namespace

void AddComputeLum(CommandLine& line) {
  auto options = std::make_shared<ComputeLumOptions>();
  const Subcommand compute =
      line.Add("compute-lum", "Compute a luminance set from one level of a partition",
               [options] { RunComputeLum(*options); });
  compute.Add("files", options->files, "CIE Y of red, green and blue at one level, in any order")
      .Required()
      .Count(3, 3)
      .EndsWith({".meter"})
      .Named("FILE.meter");
  compute.Add("--luminance", options->luminance, "What every LED is to have at that level, cd/m^2")
      .Required()
      .Named("R,G,B");
  compute.Add("--output", options->output, "Where the set goes")
      .Required()
      .EndsWith({kLum})
      .Named("OUT.lumcoeff");
  compute.Footer(
      "factor = luminance / measured; dead LEDs are not corrected. Give all partitions of a wall "
      "the same luminance, or their "
      "seams show.\n\nExample:\n"
      "  multilayer compute-lum demo/p00_{red,green,blue}_255.meter --luminance 230,560,60 "
      "--output p00.lumcoeff");
}

}  // namespace multilayer::tool

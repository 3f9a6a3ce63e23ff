// Coefficients of other targets would be judged against the wrong ones.
#include "tool/corrected_wall.h"

#include <algorithm>
#include <cmath>

#include "tool/error.h"
#include "tool/files.h"
#include "tool/measurements.h"

namespace multilayer::tool {
namespace {

// The luminance of a white that the job leaves open is the calibration's to find.
bool IsWhiteOf(const Job& job, const std::array<double, 3>& white) {
  if (job.white) {
    constexpr double kFloat = 1e-6;  // the library takes its target in single precision
    return std::equal(white.begin(), white.end(), job.white->begin(), [](double is, double due) {
      return std::abs(is - due) <= kFloat * std::abs(due);
    });
  }
  const double sum = white[0] + white[1] + white[2];
  return std::abs(white[0] / sum - job.chromaticity[0]) < 1e-6 &&
         std::abs(white[1] / sum - job.chromaticity[1]) < 1e-6;
}

}  // namespace

CorrectedWall::CorrectedWall(const Job& job, const std::filesystem::path& coefficients)
    : job_(job),
      folder_(coefficients),
      truth_(ReadTruth(job.TruthFile())),
      scene_(MakeScene(job, truth_)) {
  const std::optional<Calibration> record = FindCalibration(folder_);
  calibration_ = record.value_or(Calibration());
  if (calibration_.mode == Mode::kWhite) {
    if (!IsWhiteOf(job, calibration_.white)) {
      Refuse(CalibrationFile(folder_));
    }
    return;
  }
  calibration_.targets = FindTargets(job);
  if (record && (record->targets.luminance != calibration_.targets.luminance ||
                 record->targets.decrease != calibration_.targets.decrease)) {
    Refuse(CalibrationFile(folder_));
  }
}

CorrectedWall::Part CorrectedWall::Load(const std::string& partition) const {
  const std::filesystem::path path = folder_ / (partition + ".mlcoefs");
  const MultiLayerCoeff engine = LoadCoefficients(path);
  // White balance knows no decrease: its targets are zeros here as in its files.
  const std::array<double, 3>& decrease = calibration_.targets.decrease;
  const bool same_targets =
      std::equal(decrease.begin(), decrease.end(), engine.rgb_lum_dec_ratio.begin());
  const PartRecord& part = engine.part_x_y_w_h;
  if (!same_targets || engine.bit_width != job_.bit_width ||
      part.screen_w != truth_.wall.screen_w || part.screen_h != truth_.wall.screen_h) {
    Refuse(path);
  }
  return {simulation::MakePartition(truth_.wall, part), simulation::CorrectionOf(engine)};
}

double CorrectedWall::Drive(int32_t level) const {
  const double gray_max = (1 << job_.bit_width) - 1;
  return scene_.controller.Position(level) / gray_max;
}

void CorrectedWall::Refuse(const std::filesystem::path& file) const {
  throw Failure(Exit::kRefused, file.string() + ": was computed for another job than " +
                                    job_.file.string() + ": run multilayer calibrate again");
}

}  // namespace multilayer::tool

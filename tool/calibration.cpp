// The fields of the record, which depend on its mode.
#include "tool/calibration.h"

#include <algorithm>

#include "tool/files.h"
#include "tool/toml_fields.h"

namespace multilayer::tool {
namespace {

constexpr const char* kHeading =
    "How the coefficients in this folder were computed. Written by `multilayer calibrate`, read "
    "by\n"
    "`multilayer verify` and by the next `multilayer calibrate --step`.";

constexpr Range kLuminance = {0, 1e6};

// `mode` is the record's mode in words.
template <class Fields, class Record, class Text>
void Visit(Fields& fields, Record& record, Text& mode) {
  fields.Section("calibration", "The mode, and how far it is.");
  fields.Field("mode", mode, "norm, iterate or white.");
  if (mode == kModes[1] || mode == kModes[2]) {
    fields.Field("order", record.order, {1, 65535}, "Levels in the order of the steps.");
    fields.Field("steps", record.steps, {0, 65536}, "Steps done, of one more than levels.");
  }
  fields.Section("target", "At full drive, the same for all partitions.");
  if (mode == kModes[2]) {
    fields.Field("xyz", record.white, kLuminance, "CIE X, Y and Z of the white.");
    fields.Field("primaries", record.primaries,
                 "measured: those of every LED; mean: one matrix a partition.");
  } else {
    fields.Field("luminance", record.targets.luminance, kLuminance,
                 "Of red, green and blue before the decrease, cd/m^2.");
    fields.Field("decrease", record.targets.decrease, {-1, 0.999},
                 "Fraction by which the target lies below that.");
  }
}

}  // namespace

std::filesystem::path CalibrationFile(const std::filesystem::path& folder) {
  return folder / "calibration.toml";
}

std::optional<Calibration> FindCalibration(const std::filesystem::path& folder) {
  if (!std::filesystem::exists(CalibrationFile(folder))) {
    return std::nullopt;
  }
  Calibration calibration;
  std::string mode;
  TomlReader reader(CalibrationFile(folder), /*defaults=*/false);
  Visit(reader, calibration, mode);
  const auto* const name = std::find(kModes.begin(), kModes.end(), mode);
  if (name == kModes.end()) {
    reader.Fail("calibration.mode", mode, "be norm, iterate or white");
  }
  if (calibration.primaries != kPerLed && calibration.primaries != kMean) {
    reader.Fail("target.primaries", calibration.primaries, "be measured or mean");
  }
  reader.Finish();
  calibration.mode = static_cast<Mode>(name - kModes.begin());
  return calibration;
}

void SaveCalibration(const std::filesystem::path& folder, const Calibration& calibration) {
  const std::string mode = NameOf(calibration.mode);
  TomlWriter writer(kHeading);
  Visit(writer, calibration, mode);
  WriteText(CalibrationFile(folder), writer.text());
}

}  // namespace multilayer::tool

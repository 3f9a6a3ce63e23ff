// The fields of the hidden truth.
#include "tool/truth.h"

#include "tool/toml_fields.h"

namespace multilayer::tool {
namespace {

constexpr const char* kHeading =
    "The hidden truth of a simulated wall: every LED is a function of these numbers. Written by\n"
    "`multilayer simulate` for `multilayer verify`; `multilayer calibrate` never looks at it.\n"
    "Spreads are standard deviations. Lists of three stand in the order red, green, blue.";

constexpr Range kSeed = {0, 9.2e18};
constexpr Range kLeds = {1, 1 << 20};
constexpr Range kSpread = {0, 1};

template <class Fields, class Wall>
void VisitGeometry(Fields& fields, Wall& wall) {
  fields.Section("wall", "The LEDs, their modules and their drivers.");
  fields.Field("seed", wall.seed, kSeed, "Another seed, another wall.");
  fields.Field("screen_w", wall.screen_w, kLeds, "Columns of the screen, LEDs.");
  fields.Field("screen_h", wall.screen_h, kLeds, "Rows of the screen, LEDs.");
  fields.Field("module_w", wall.module_w, kLeds, "Columns of a module.");
  fields.Field("module_h", wall.module_h, kLeds, "Rows of a module.");
  fields.Field("panel_pitch", wall.panel_pitch, {1e-3, 1e3}, "Distance of neighbouring LEDs, mm.");
  fields.Field("placement_tolerance", wall.placement_tolerance, kSpread,
               "Spread of an LED's place, fraction of the pitch.");
  fields.Field("driver_channels", wall.driver_channels, kLeds, "Columns that one chip drives.");
  fields.Field("scan_lines", wall.scan_lines, kLeds, "Rows that a channel drives in turn.");
  fields.Field("refresh_rate", wall.refresh_rate, {1, 1e6}, "Refreshes a second.");
}

template <class Fields, class Wall>
void VisitLight(Fields& fields, Wall& wall) {
  fields.Section("light", "What the LEDs give.");
  fields.Field("full_scale", wall.full_scale, {1e-3, 1e7},
               "Luminance of the nominal primaries at full drive, cd/m^2.");
  fields.Field("wavelength", wall.wavelength, {380, 780}, "Nominal wavelengths, nm.");
  fields.Field("luminance_slope", wall.luminance_slope, {-1, 1},
               "Relative change of luminance per nm of wavelength.");
  fields.Field("led_luminance", wall.led_luminance, kSpread, "Spread of an LED's luminance.");
  fields.Field("led_wavelength", wall.led_wavelength, {0, 20},
               "Spread of an LED's wavelength, nm.");
  fields.Field("module_luminance", wall.module_luminance, kSpread,
               "Spread between modules, luminance.");
  fields.Field("module_wavelength", wall.module_wavelength, {0, 20}, "Spread between modules, nm.");
  fields.Field("channel_luminance", wall.channel_luminance, kSpread,
               "Spread between driver channels.");
  fields.Field("chip_luminance", wall.chip_luminance, kSpread, "Spread between driver chips.");
  fields.Field("turn_on_time", wall.turn_on_time, {0, 1e-5},
               "Pulse length below which an LED stays dark, s.");
  fields.Field("turn_on_spread", wall.turn_on_spread, kSpread,
               "Its spread between channels, relative.");
  fields.Field("droop", wall.droop, {0, 0.9},
               "Loss of efficiency at full drive, fraction of the luminance.");
  fields.Field("droop_spread", wall.droop_spread, {0, 0.1}, "Its spread between LEDs, absolute.");
  fields.Field("dead_fraction", wall.dead_fraction, {0, 1},
               "Probability that one primary of an LED never lights.");
}

template <class Fields, class Camera>
void VisitCamera(Fields& fields, Camera& camera) {
  fields.Section("camera", "The measuring camera.");
  fields.Field("seed", camera.seed, kSeed, "Another seed, other noise.");
  fields.Field("electrons", camera.electrons, {100, 1e12},
               "Electrons of a mean LED in one photograph: shot noise 1 / sqrt(electrons).");
  fields.Field("read_noise", camera.read_noise, {0, 1e6}, "Electrons an LED.");
  fields.Field("nominal_exposure", camera.nominal_exposure, {1, 1e9},
               "Exposure that gives those electrons at full drive, us.");
  fields.Field("max_exposure", camera.max_exposure, {1, 2e9}, "Longest exposure, us.");
  fields.Field("pixels_per_led", camera.pixels_per_led, {0.1, 1000},
               "Camera pixels between neighbouring LEDs.");
  fields.Field("keystone_x", camera.keystone_x, {-0.9, 0.9},
               "Perspective: change of scale across the partition.");
  fields.Field("keystone_y", camera.keystone_y, {-0.9, 0.9}, "The same from top to bottom.");
  fields.Field("margin", camera.margin, {0, 1e5}, "Dark pixels around the partition.");
  fields.Field("dead_signal", camera.dead_signal, {0, 1},
               "An LED below this part of the median signal counts as dead.");
  fields.Field("detection_limit", camera.detection_limit, {0, 1000},
               "So does one below this many read noises.");
  fields.Field("aperture", camera.aperture, {0, 10000}, "Tenths of an f-number.");
  fields.Field("gain", camera.gain, {0, 10000}, "Tenths of a decibel.");
}

template <class Fields, class TruthType>
void VisitTruth(Fields& fields, TruthType& truth) {
  VisitGeometry(fields, truth.wall);
  VisitLight(fields, truth.wall);
  VisitCamera(fields, truth.camera);
}

}  // namespace

Truth ReadTruth(const std::filesystem::path& path) {
  Truth truth;
  TomlReader reader(path, /*defaults=*/false);
  VisitTruth(reader, truth);
  reader.Finish();
  return truth;
}

std::string TruthText(const Truth& truth) {
  TomlWriter writer(kHeading);
  VisitTruth(writer, truth);
  return writer.text();
}

simulation::Scene MakeScene(const Job& job, const Truth& truth) {
  return {truth.wall, simulation::Controller(job.GammaTable(), job.bit_width),
          simulation::Camera(truth.camera)};
}

}  // namespace multilayer::tool

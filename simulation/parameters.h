// Every number of the simulated wall and camera, with its unit and where it comes from.
#pragma once

#include <array>
#include <cstdint>

namespace multilayer::simulation {

// Where a number comes from stands in brackets: [data sheet] of a part; [trade] claims of makers
// and dealers, which nobody has checked; [textbook]; [computed]; or [choice]. Colours stand in the
// order red, green, blue. All spreads are standard deviations of normal distributions.
struct WallParameters {
  uint64_t seed = 1;  // another seed, another wall

  // Geometry, in LEDs. A screen edge may cut a module, a module edge a driver block.
  int32_t screen_w = 320;  // [choice]
  int32_t screen_h = 180;  // [choice] 16:9
  int32_t module_w = 80;   // [choice] divides 1920, and is no power of two as partitions often are
  int32_t module_h = 60;   // [choice] divides 1080
  double panel_pitch = 1.5;           // mm between neighbouring LEDs [choice: a P1.5 wall]
  double placement_tolerance = 0.02;  // of an LED's place, fraction of the pitch [choice]

  // Drivers. One chip drives `driver_channels` neighbouring columns, and scans `scan_lines` rows
  // one after another: the LEDs of one column within these rows share one channel. Each primary
  // has chips of its own. Chips start anew at every module.
  int32_t driver_channels = 16;  // [trade: the usual chip]
  int32_t scan_lines = 15;       // [choice] 60 rows = 4 groups of 15, near the usual 16
  double refresh_rate = 1920.0;  // Hz [trade]

  // Luminance of the wall with one primary of nominal LEDs at full drive, cd/m^2. Shares of D65
  // white for Gaussian spectra of 17, 33 and 24 nm width [computed from V(lambda)], blue rounded up
  // to 1000 cd/m^2 of white in all [choice].
  std::array<double, 3> full_scale = {270.0, 660.0, 70.0};
  // Nominal wavelengths, nm [choice: common LEDs]: peaks of the spectra, near which the slopes
  // below hold.
  std::array<double, 3> wavelength = {630.0, 527.0, 467.0};
  // Spectra: Gaussians of these full widths at half maximum, nm [data sheets], of which a share of
  // the power is spread over a wider Gaussian of the same peak. Spectra of LEDs have a broad foot,
  // and a Gaussian alone is too saturated, by 0.05 in green: with the foot, the nominal primaries
  // are xy (0.693, 0.307), (0.179, 0.719), (0.132, 0.066) [choice: near those of real walls].
  std::array<double, 3> spectrum_width = {17.0, 33.0, 24.0};
  double foot_share = 0.15;
  double foot_width = 100.0;
  // Relative change of luminance per nm of wavelength: the slope of V(lambda) over the primary's
  // spectrum [computed from V(lambda)]. Luminance and wavelength of real LEDs go together.
  std::array<double, 3> luminance_slope = {-0.036, 0.018, 0.047};

  // Spreads. The relative luminances multiply.
  double led_luminance = 0.03;       // of one LED, beyond its wavelength's share [trade: a bin]
  double led_wavelength = 0.8;       // nm, of one LED [trade: inside a bin of +-1 nm]
  double module_luminance = 0.02;    // offset of a module: reel, lens, heat [choice]
  double module_wavelength = 0.5;    // nm, offset of a module: reels [choice]
  double channel_luminance = 0.015;  // current error between channels [trade: 1.5 to 3 %]
  // Current error between chips: limits of +-3 to +-6 % [trade], taken as three sigma [choice].
  double chip_luminance = 0.015;

  // Low gray. A pulse shorter than the minimum turn-on time gives no light: the LED's capacitance
  // has to be charged first [data sheet of a driver]. Divided by the line window, it is a drive:
  // 0.00058.
  double turn_on_time = 20e-9;   // s, mean [textbook: 10 to 30 ns]
  double turn_on_spread = 0.08;  // of a channel, relative [textbook: 5 to 10 %]

  // High gray. Efficiency falls with the load: at full drive the response curves down by this
  // fraction against a straight line [choice].
  double droop = 0.01;
  double droop_spread = 0.001;  // of one LED, absolute [choice]

  // Probability that one primary of an LED never lights; LEDs fail one by one here, not in
  // clusters [trade: a norm's limit for video walls].
  double dead_fraction = 1e-4;

  // Time for which one row is lit in a refresh, s: 34.7 us.
  double LineWindow() const { return 1.0 / (refresh_rate * scan_lines); }
};

struct CameraParameters {
  uint64_t seed = 1;  // another seed, other noise

  // Electrons that the photograph collects of a mean lit LED, over its aperture and all frames:
  // shot noise of 0.2 % [computed: 1 / sqrt(250000)].
  double electrons = 250000.0;
  double read_noise = 5.0;  // electrons an LED, over all its pixels [choice]

  // Exposure that reaches `electrons` with every LED at full drive: one frame of 60 Hz, us
  // [choice]. Darker layers are exposed longer, up to the limit [choice: patience].
  double nominal_exposure = 1e6 / 60.0;
  double max_exposure = 60e6;

  double pixels_per_led = 4.5;  // camera pixels between neighbouring LEDs [choice]
  // Perspective of a camera that looks at the partition a little from the side and from below:
  // relative change of the image scale from one edge to the other [choice].
  double keystone_x = 0.02;
  double keystone_y = 0.01;
  double margin = 20.0;  // dark pixels around the partition in the image [choice]
  // An LED's image: a Gaussian of this sigma, pixels. With all LEDs lit, a tenth of what an aperture
  // of one pitch collects is its neighbours'; with one in 2 x 2 lit, 0.01 % [computed].
  double spot = 1.26;

  // How the camera judges an LED: it must give this part of the median signal [choice: no spread
  // of live LEDs comes near it] and stand this many read noises above the dark [textbook].
  double dead_signal = 0.05;
  double detection_limit = 5.0;

  // Settings that the record carries: aperture in tenths of an f-number, gain in tenths of a
  // decibel [choice].
  int32_t aperture = 80;
  int32_t gain = 0;
};

}  // namespace multilayer::simulation

// The truth of a wall, from its parameters and random fields over the screen.
#include "simulation/wall.h"

#include <algorithm>
#include <cassert>
#include <vector>

#include "simulation/random.h"

namespace multilayer::simulation {
namespace {

// What the random fields of a wall are for. A number, once given, is never used for anything else:
// every wall of every seed would change.
enum Purpose : uint64_t {
  kLedLuminance,
  kLedWavelength,
  kLedDroop,
  kDead,
  kModuleLuminance,
  kModuleWavelength,
  kChipLuminance,
  kChannelLuminance,
  kChannelTurnOn,
};

// What the LEDs of one column share within one group of scanned rows.
struct Channel {
  double luminance;         // cd/m^2 of a nominal LED on this channel
  double wavelength_shift;  // nm
  double turn_on;           // fraction of full scale
};

// Groups of rows that are scanned together are numbered from the top of the screen.
int32_t RowGroup(const WallParameters& wall, int32_t y) {
  const int32_t groups_a_module = (wall.module_h + wall.scan_lines - 1) / wall.scan_lines;
  return y / wall.module_h * groups_a_module + y % wall.module_h / wall.scan_lines;
}

int32_t ChipColumn(const WallParameters& wall, int32_t x) {
  const int32_t chips_a_module = (wall.module_w + wall.driver_channels - 1) / wall.driver_channels;
  return x / wall.module_w * chips_a_module + x % wall.module_w / wall.driver_channels;
}

class PrimaryMaker {
 public:
  PrimaryMaker(const WallParameters& wall, const PartRecord& part, size_t primary)
      : wall_(wall), part_(part), primary_(primary), channels_(static_cast<size_t>(part.w)) {}

  PrimaryTruth Make() {
    const cv::Size size(part_.w, part_.h);
    PrimaryTruth truth = {cv::Mat(size, CV_64FC1), cv::Mat(size, CV_64FC1), cv::Mat(size, CV_64FC1),
                          cv::Mat(size, CV_64FC1), cv::Mat(size, CV_8UC1)};
    int32_t group = -1;
    for (int32_t row = 0; row < part_.h; ++row) {
      const int32_t y = part_.y + row;
      if (RowGroup(wall_, y) != group) {
        group = RowGroup(wall_, y);
        FindChannels(y, group);
      }
      MakeRow(row, truth);
    }
    return truth;
  }

 private:
  RandomField Field(Purpose purpose) const { return {wall_.seed, purpose, primary_}; }

  void FindChannels(int32_t y, int32_t group) {
    const double nominal_turn_on = wall_.turn_on_time / wall_.LineWindow();
    const RandomField module_luminance = Field(kModuleLuminance);
    const RandomField module_wavelength = Field(kModuleWavelength);
    const RandomField chip_luminance = Field(kChipLuminance);
    const RandomField channel_luminance = Field(kChannelLuminance);
    const RandomField channel_turn_on = Field(kChannelTurnOn);
    const int32_t module_y = y / wall_.module_h;
    for (int32_t col = 0; col < part_.w; ++col) {
      const int32_t x = part_.x + col;
      const int32_t module_x = x / wall_.module_w;
      const double module = wall_.module_luminance * module_luminance.Normal(module_x, module_y);
      const double chip = wall_.chip_luminance * chip_luminance.Normal(ChipColumn(wall_, x), group);
      const double channel = wall_.channel_luminance * channel_luminance.Normal(x, group);
      channels_[static_cast<size_t>(col)] = {
          wall_.full_scale[primary_] * (1.0 + module) * (1.0 + chip) * (1.0 + channel),
          wall_.module_wavelength * module_wavelength.Normal(module_x, module_y),
          nominal_turn_on *
              std::max(0.0, 1.0 + wall_.turn_on_spread * channel_turn_on.Normal(x, group))};
    }
  }

  void MakeRow(int32_t row, PrimaryTruth& truth) const {
    const RandomField led_luminance = Field(kLedLuminance);
    const RandomField led_wavelength = Field(kLedWavelength);
    const RandomField led_droop = Field(kLedDroop);
    const RandomField dead_led = Field(kDead);
    const double slope = wall_.luminance_slope[primary_];
    double* const luminance = truth.luminance.ptr<double>(row);
    double* const shift = truth.wavelength_shift.ptr<double>(row);
    double* const turn_on = truth.turn_on.ptr<double>(row);
    double* const droop_shift = truth.droop_shift.ptr<double>(row);
    uint8_t* const dead = truth.dead.ptr<uint8_t>(row);
    const int32_t y = part_.y + row;
    for (int32_t col = 0; col < part_.w; ++col) {
      const int32_t x = part_.x + col;
      const Channel& channel = channels_[static_cast<size_t>(col)];
      shift[col] = channel.wavelength_shift + wall_.led_wavelength * led_wavelength.Normal(x, y);
      const double led = wall_.led_luminance * led_luminance.Normal(x, y) + slope * shift[col];
      luminance[col] = channel.luminance * std::max(0.0, 1.0 + led);
      turn_on[col] = channel.turn_on;
      droop_shift[col] = wall_.droop_spread * led_droop.Normal(x, y);
      dead[col] = dead_led.Uniform(x, y) < wall_.dead_fraction ? 1 : 0;
    }
  }

  const WallParameters& wall_;
  const PartRecord& part_;
  size_t primary_;
  std::vector<Channel> channels_;  // one a column of the partition, of the current group of rows
};

}  // namespace

PartRecord WholeScreen(const WallParameters& wall) {
  return {0, 0, wall.screen_w, wall.screen_h, wall.screen_w, wall.screen_h};
}

PartitionTruth MakePartition(const WallParameters& wall, const PartRecord& part) {
  assert(part.x >= 0 && part.y >= 0 && part.w > 0 && part.h > 0);
  PartitionTruth truth = {part, {}};
  for (size_t primary = 0; primary < truth.primaries.size(); ++primary) {
    truth.primaries[primary] = PrimaryMaker(wall, part, primary).Make();
  }
  return truth;
}

cv::Mat Emit(const WallParameters& wall, const PrimaryTruth& primary, const cv::Mat& drive) {
  assert(drive.type() == CV_64FC1 && drive.size() == primary.luminance.size());
  cv::Mat emitted(drive.size(), CV_64FC1);
  for (int32_t row = 0; row < drive.rows; ++row) {
    const double* const u = drive.ptr<double>(row);
    const double* const luminance = primary.luminance.ptr<double>(row);
    const double* const turn_on = primary.turn_on.ptr<double>(row);
    const double* const droop_shift = primary.droop_shift.ptr<double>(row);
    const uint8_t* const dead = primary.dead.ptr<uint8_t>(row);
    double* const out = emitted.ptr<double>(row);
    for (int32_t col = 0; col < drive.cols; ++col) {
      const double droop = wall.droop + droop_shift[col];
      const double lit = std::max(0.0, u[col] - turn_on[col]) / (1.0 - turn_on[col]);
      const double efficiency = (1.0 - droop * u[col]) / (1.0 - droop);
      out[col] = dead[col] != 0 ? 0.0 : luminance[col] * lit * efficiency;
    }
  }
  return emitted;
}

}  // namespace multilayer::simulation

// Every measurement to its place.
#include "tool/primaries.h"

#include <algorithm>
#include <array>
#include <cstring>

#include <opencv2/core.hpp>

#include "tool/error.h"
#include "tool/files.h"
#include "tool/job.h"
#include "tool/measurements.h"

namespace multilayer::tool {
namespace {

constexpr std::array<int32_t, 3> kTypes = {CIE_X, CIE_Y, CIE_Z};
constexpr std::array<const char*, 3> kTypeNames = {"CIE X", "CIE Y", "CIE Z"};
constexpr size_t kY = 1;
constexpr size_t kZ = 2;

size_t ColourOf(const LedMeter& meter) {
  return static_cast<size_t>(std::find(kColorCodes.begin(), kColorCodes.end(), meter.color) -
                             kColorCodes.begin());
}

size_t PlaneOf(const LedMeter& meter) {
  return static_cast<size_t>(std::find(kTypes.begin(), kTypes.end(), meter.type) - kTypes.begin());
}

std::string NameOf(size_t colour, size_t plane) {
  return std::string(kTypeNames[plane]) + " of " + kColours[colour];
}

void RequireAlike(const std::string& file, const LedMeter& meter, const std::string& first_file,
                  const LedMeter& first) {
  if (meter.part == nullptr) {
    throw Failure(Exit::kRefused, file + ": has no part record: a set needs it");
  }
  if (std::memcmp(meter.part.get(), first.part.get(), sizeof(PartRecord)) != 0) {
    throw Failure(Exit::kRefused,
                  file + ": part differs from " + first_file + ": must be the same LEDs");
  }
  if (meter.layer != nullptr && first.layer != nullptr &&
      meter.layer->value != first.layer->value) {
    throw Failure(Exit::kRefused, file + ": layer.value is " + std::to_string(meter.layer->value) +
                                      ": must be " + std::to_string(first.layer->value) +
                                      ", as in " + first_file);
  }
}

void RequireComplete(const simulation::MeasuredPrimaries& primaries, Planes planes) {
  for (size_t colour = 0; colour < kColours.size(); ++colour) {
    for (size_t plane = 0; plane < kTypes.size(); ++plane) {
      const bool needed = plane == kY || (planes == Planes::kAll && (colour != 0 || plane != kZ));
      if (needed && primaries[colour][plane].chroma.empty()) {
        throw Failure(Exit::kRefused, "no file is " + NameOf(colour, plane));
      }
    }
  }
}

}  // namespace

simulation::MeasuredPrimaries LoadPrimaries(const std::vector<std::string>& files, Planes planes) {
  simulation::MeasuredPrimaries primaries;
  const LedMeter* first = nullptr;
  for (const std::string& file : files) {
    LedMeter meter = LoadMeter(file);
    const size_t colour = ColourOf(meter);
    const size_t plane = PlaneOf(meter);
    if (plane == kTypes.size() || (planes == Planes::kLuminance && plane != kY)) {
      throw Failure(Exit::kRefused,
                    file + ": type is " + std::to_string(meter.type) +
                        (planes == Planes::kAll ? ": must be 1, 2 or 4 (CIE X, Y, Z)"
                                                : ": must be 2 (CIE Y)"));
    }
    LedMeter& place = primaries[colour][plane];
    if (!place.chroma.empty()) {
      throw Failure(Exit::kRefused,
                    file + ": is " + NameOf(colour, plane) + ": must be there only once");
    }
    RequireAlike(file, meter, files.front(), first == nullptr ? meter : *first);
    place = std::move(meter);
    first = first == nullptr ? &place : first;
  }
  RequireComplete(primaries, planes);
  LedMeter& red_z = primaries[0][kZ];
  if (planes == Planes::kAll && red_z.chroma.empty()) {
    red_z.color = COLOR_RED;
    red_z.type = CIE_Z;
    red_z.chroma = cv::Mat::zeros(primaries[0][kY].chroma.size(), CV_32FC1);
  }
  return primaries;
}

cv::Mat DeadOf(const simulation::MeasuredPrimaries& primaries, size_t colour) {
  cv::Mat dead = cv::Mat::zeros(primaries[colour][kY].chroma.size(), CV_8UC1);
  for (const LedMeter& meter : primaries[colour]) {
    if (!meter.state.empty()) {
      cv::bitwise_or(dead, meter.state & LED_DEAD, dead);
    }
  }
  return dead;
}

}  // namespace multilayer::tool

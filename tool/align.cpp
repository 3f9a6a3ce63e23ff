// `multilayer align`: a measurement scaled to a known mean, as that of a luminance meter.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <opencv2/core.hpp>

#include "multilayer/meter/led_meter.h"
#include "tool/arguments.h"
#include "tool/commands.h"
#include "tool/error.h"
#include "tool/files.h"
#include "tool/table.h"

namespace multilayer::tool {
namespace {

struct AlignOptions {
  std::string file;
  std::string output;
  std::string target;
  std::string point;
  int32_t radius = 0;
};

// X, Y and Z. One value is that of the record's own type, whichever it is.
std::array<float, 3> Target(const std::string& text, int32_t type) {
  const bool one = text.find(',') == std::string::npos;
  const std::vector<double> numbers = Numbers("--target", text, one ? 1 : 3);
  std::array<float, 3> target = {};
  for (size_t i = 0; i < target.size(); ++i) {
    target[i] = static_cast<float>(numbers[one ? 0 : i]);
  }
  const float own = target[type == CIE_X ? 0 : type == CIE_Y ? 1 : 2];
  if (!(own > 0)) {
    RefuseOption("--target", text, "be above 0 for the type of the measurement");
  }
  return target;
}

std::array<int32_t, 2> Point(const std::string& text) {
  const std::vector<double> numbers = Numbers("--point", text, 2);
  std::array<int32_t, 2> point = {};
  for (size_t i = 0; i < point.size(); ++i) {
    if (numbers[i] != std::floor(numbers[i]) || numbers[i] < 0 || numbers[i] > 1e9) {
      RefuseOption("--point", text, "be a column and a row, from 0");
    }
    point[i] = static_cast<int32_t>(numbers[i]);
  }
  return point;
}

// The LEDs that Align averages around a point.
cv::Mat Disc(cv::Size size, const std::array<int32_t, 2>& point, int32_t radius) {
  cv::Mat mask = cv::Mat::zeros(size, CV_8UC1);
  const auto reach = static_cast<double>(radius) + 0.5;
  for (int row = 0; row < size.height; ++row) {
    for (int col = 0; col < size.width; ++col) {
      const bool inside = std::hypot(col - point[0], row - point[1]) < reach;
      mask.at<uint8_t>(row, col) = inside ? 255 : 0;
    }
  }
  return mask;
}

void RunAlign(const AlignOptions& options) {
  LedMeter meter = LoadMeter(options.file);
  const std::array<float, 3> target = Target(options.target, meter.type);
  const bool around_point = !options.point.empty();
  const std::array<int32_t, 2> point = around_point ? Point(options.point) : decltype(point)();
  const cv::Mat before = meter.chroma.clone();
  constexpr int32_t kDiscLeaves = 405;
  const int32_t status = meter.Align(target.data(), around_point ? point.data() : nullptr,
                                     around_point ? &options.radius : nullptr);
  if (status == kDiscLeaves) {
    throw Failure(Exit::kRefused, options.file + ": --point " + options.point + " with --radius " +
                                      std::to_string(options.radius) + " leaves the " +
                                      std::to_string(before.cols) + "x" +
                                      std::to_string(before.rows) + " LEDs");
  }
  RequireDone(status, options.file);
  if (!cv::checkRange(meter.chroma)) {
    throw Failure(Exit::kRefused, options.file + ": its mean of " + Fixed(cv::mean(before)[0], 4) +
                                      " cannot be scaled to --target " + options.target);
  }
  SaveMeter(options.output, meter);
  Table table({"mean of", "LEDs", "before", "after"}, 1);
  const auto add = [&](const char* what, const cv::Mat& mask) {
    table.Add({what, std::to_string(cv::countNonZero(mask)), Fixed(cv::mean(before, mask)[0], 4),
               Fixed(cv::mean(meter.chroma, mask)[0], 4)});
  };
  if (around_point) {
    add("the disc", Disc(before.size(), point, options.radius));
  }
  add("all", cv::Mat(before.size(), CV_8UC1, cv::Scalar(255)));
  PrintOut(table.Text());
}

}  // namespace

void AddAlign(CommandLine& line) {
  auto options = std::make_shared<AlignOptions>();
  const Subcommand align = line.Add("align", "Scale a measurement so that its mean is a target",
                                    [options] { RunAlign(*options); });
  align.Add("file", options->file, "The measurement")
      .Required()
      .EndsWith({".meter"})
      .Named("FILE.meter");
  align
      .Add("--target", options->target,
           "CIE X, Y and Z, of which the measurement's type picks one, or one value for it")
      .Required()
      .Named("X,Y,Z");
  align.Add("--output", options->output, "Where it goes; may be the same file")
      .Required()
      .EndsWith({".meter"})
      .Named("OUT.meter");
  const Argument point =
      align.Add("--point", options->point, "Take the mean around this LED, not of all")
          .Named("COL,ROW");
  const Argument radius = align.Add("--radius", options->radius, "LEDs around it that count")
                              .Within(0, 1000000)
                              .Needs(point);
  point.Needs(radius);
  align.Footer(
      "A spot meter sees a disc of LEDs: give its reading, the LED that it aims at and how many\n"
      "LEDs its disc reaches to each side.\n\nExample:\n"
      "  multilayer align demo/p00_red_255.meter --target 271.5 --point 80,45 --radius 5 --output "
      "aligned.meter");
}

}  // namespace multilayer::tool

// The fields of the job file and the rules between them.
#include "tool/job.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <functional>
#include <set>

#include <opencv2/core.hpp>

#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "simulation/display.h"
#include "tool/toml_fields.h"

namespace multilayer::tool {
namespace {

constexpr const char* kHeading =
    "A calibration job of the command `multilayer`. Every key but capture.levels and\n"
    "capture.partitions may be left out; the value shown by `multilayer simulate` for a new job "
    "is\n"
    "then taken. Paths are relative to this file's folder. Lists of three stand in the order red,\n"
    "green, blue.";

template <class Fields, class JobType>
void VisitCapture(Fields& fields, JobType& job) {
  fields.Section("capture", "What was photographed, and in which files it is.");
  fields.Field("levels", job.levels, {1, 65535},
               "Gray levels that were photographed, ascending, two or more.");
  fields.Field("partitions", job.partitions,
               "The partitions of the screen: one name each, of letters, digits, - and _.\n"
               "Where each lies on the screen stands in its measurements.");
  fields.Field(
      "files", job.files,
      "Name of each measurement (luminance, CIE Y, of one primary at one level).\n"
      "{partition} stands for the name above, {color} for red, green or blue, {level} for\n"
      "the gray level, {level:03} for the level in three digits. Folders are welcome:\n"
      "\"shots/{partition}/{color}-{level}.meter\".");
}

template <class Fields, class JobType>
void VisitDisplay(Fields& fields, JobType& job) {
  fields.Section("display", "How the display controller turns gray levels into linear drive.");
  fields.Field("gray_levels", job.gamma_levels, {256, 65536}, "Gray levels of the input.");
  fields.Field("gamma_bits", job.gamma_bits, {8, 30}, "Bits of the linear output.");
  fields.Field("gamma", job.gamma, {0.1, 10}, "Exponent of the gamma curve.");
  fields.Field("gamma_table", job.gamma_table, {0, 2147483647},
               "The linear output of every gray level, one by one from 0. An empty list: computed\n"
               "from the three keys above, which count for nothing otherwise.");
  fields.Section("coefficients", "What the controller takes.");
  fields.Field("bit_width", job.bit_width, {16, 24}, "Bits of the layer positions.");
  fields.Field("layers", job.layers, {2, MultiLayerCoeff::kMaxCoefLayers},
               "Coefficient layers, at least one for each captured level.");
}

template <class Fields, class JobType>
void VisitTarget(Fields& fields, JobType& job) {
  fields.Section("target",
                 "The luminance to correct towards, the same for all partitions of the wall.");
  fields.Field("reach_percentile", job.reach_percentile, {0, 100},
               "Share of the live LEDs that must reach the target at full drive, in percent. What "
               "is\nleft stays darker than the target at the highest levels; a larger share costs\n"
               "luminance.");
  fields.Field("luminance", job.luminance, {270, 660, 70}, {0.001, 1000000},
               "Luminance of the wall at full drive before the decrease, cd/m^2. Not set: the mean "
               "of\nthe live LEDs at the highest captured level, scaled to full drive.");
  fields.Field("decrease", job.decrease, {0.15, 0.15, 0.15}, {-1, 0.999},
               "Fraction by which the target lies below that. Not set: what reach_percentile "
               "asks\nfor, rounded up to 0.001.");
}

template <class Fields, class JobType>
void VisitWhite(Fields& fields, JobType& job) {
  fields.Section("white",
                 "The white to balance towards, the same for all partitions. Only `calibrate\n"
                 "--mode white` reads it.");
  fields.Field("chromaticity", job.chromaticity, {0.01, 0.9}, "CIE 1931 x and y. D65 as written.");
  fields.Field("reach_percentile", job.white_reach_percentile, {1, 100},
               "Share of the live LEDs that must reach the white at full drive, in percent, in "
               "every\npartition: gives its luminance.");
  fields.Field("xyz", job.white, {600, 630, 690}, {0.001, 1000000},
               "CIE X, Y and Z of the white at full drive, instead of the two above.");
}

template <class Fields, class JobType>
void VisitVerify(Fields& fields, JobType& job) {
  fields.Section("verify",
                 "When `multilayer verify` is content. The coefficient of variation after the\n"
                 "correction may be this many times the noise of one photograph:");
  fields.Field("captured", job.captured, {1, 1000}, "at captured levels,");
  fields.Field("between", job.between, {1, 1000}, "at levels between them.");
  fields.Field("from_level", job.from_level, {0, 65535},
               "Levels between are judged from this one on, darker ones only reported: below the\n"
               "lowest captured level its coefficient is held, and real LEDs turn on late.");
  fields.Field("white_p95", job.white_p95, {0, 1},
               "Of a balanced white, at captured levels: the delta u'v' to the target that 95 of "
               "100\nLEDs keep,");
  fields.Field("white_modules", job.white_modules, {0, 1},
               "and the delta u'v' of the modules' means, to the target and to each other.");
}

template <class Fields, class JobType>
void VisitJob(Fields& fields, JobType& job) {
  VisitCapture(fields, job);
  VisitDisplay(fields, job);
  VisitTarget(fields, job);
  VisitWhite(fields, job);
  VisitVerify(fields, job);
}

std::string Join(const std::vector<int32_t>& values) {
  std::string text;
  for (const int32_t value : values) {
    text += (text.empty() ? "" : ", ") + std::to_string(value);
  }
  return "[" + text + "]";
}

// Replaces every occurrence; true if there was one.
bool Replace(std::string& text, const std::string& what, const std::string& by) {
  bool found = false;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
    text.replace(at, what.size(), by);
    found = true;
  }
  return found;
}

bool IsPlainName(const std::string& name) {
  return !name.empty() && std::all_of(name.begin(), name.end(), [](unsigned char c) {
    return std::isalnum(c) != 0 || c == '-' || c == '_';
  });
}

void CheckLevels(const Job& job, const BrokenRule& fail) {
  const std::vector<int32_t>& levels = job.levels;
  if (levels.size() < 2) {
    fail("capture.levels", Join(levels), "hold two levels or more");
  }
  if (std::adjacent_find(levels.begin(), levels.end(), std::greater_equal<>()) != levels.end()) {
    fail("capture.levels", Join(levels), "ascend");
  }
  if (levels.size() > static_cast<size_t>(job.layers)) {
    fail("coefficients.layers", std::to_string(job.layers),
         "be at least the number of captured levels, " + std::to_string(levels.size()));
  }
}

// A table of fewer bits than the positions would make them collapse.
void CheckGamma(const Job& job, const BrokenRule& fail) {
  const auto width = static_cast<int32_t>(job.gamma_table.size());
  if (width != 0 && width < 256) {
    fail("display.gamma_table", "a list of " + std::to_string(width), "have 256 entries or more");
  }
  const std::vector<int32_t>& table = job.gamma_table;
  if (std::adjacent_find(table.begin(), table.end(), std::greater<>()) != table.end()) {
    fail("display.gamma_table", "not ascending", "never fall");
  }
  const double bits = width == 0 ? job.gamma_bits : std::round(std::log2(table.back()));
  if (bits < job.bit_width) {
    fail("coefficients.bit_width", std::to_string(job.bit_width),
         "be at most the bits of the display's linear output, " +
             std::to_string(static_cast<int32_t>(bits)));
  }
  const int32_t gray_levels = width == 0 ? job.gamma_levels : width;
  if (job.levels.back() >= gray_levels) {
    fail("capture.levels", Join(job.levels),
         "stay below the number of gray levels, " + std::to_string(gray_levels));
  }
}

void CheckNames(const Job& job, const BrokenRule& fail) {
  std::set<std::string> seen;
  for (const std::string& name : job.partitions) {
    if (!IsPlainName(name)) {
      fail("capture.partitions", "\"" + name + "\"", "be names of letters, digits, - and _");
    }
    if (!seen.insert(name).second) {
      fail("capture.partitions", "\"" + name + "\"", "name each partition once");
    }
  }
  if (job.partitions.empty()) {
    fail("capture.partitions", "[]", "name one partition or more");
  }
}

void CheckPattern(const Job& job, const BrokenRule& broken) {
  std::string rest = job.files;
  const auto fail = [&](const std::string& rule) {
    broken("capture.files", "\"" + job.files + "\"", rule);
  };
  if (std::filesystem::path(rest).extension() != ".meter") {
    fail("end with .meter");
  }
  const bool partition = Replace(rest, "{partition}", "");
  if (!Replace(rest, "{color}", "")) {
    fail("contain {color}");
  }
  const bool plain = Replace(rest, "{level}", "");
  const bool padded = Replace(rest, "{level:03}", "");
  if (!plain && !padded) {
    fail("contain {level} or {level:03}");
  }
  if (!partition && job.partitions.size() > 1) {
    fail("contain {partition}, as there are several");
  }
  if (rest.find_first_of("{}") != std::string::npos) {
    fail("hold no braces but {partition}, {color}, {level} and {level:03}");
  }
}

}  // namespace

std::filesystem::path Job::MeterFile(const std::string& partition, size_t colour,
                                     int32_t level) const {
  char padded[16];
  std::snprintf(padded, sizeof padded, "%03d", level);
  std::string name = files;
  Replace(name, "{partition}", partition);
  Replace(name, "{color}", kColours[colour]);
  Replace(name, "{level}", std::to_string(level));
  Replace(name, "{level:03}", padded);
  return Folder() / name;
}

cv::Mat Job::GammaTable() const {
  if (gamma_table.empty()) {
    return simulation::MakeGammaTable(gamma_levels, gamma_bits, gamma);
  }
  const cv::Mat row(1, static_cast<int>(gamma_table.size()), CV_32SC1,
                    const_cast<int32_t*>(gamma_table.data()));
  return cv::repeat(row, 3, 1);
}

Job ReadJob(const std::filesystem::path& path) {
  Job job;
  job.levels.clear();
  TomlReader reader(path, /*defaults=*/true);
  VisitJob(reader, job);
  reader.Finish();
  job.file = path;
  CheckJobRules(job, [&reader](const auto& key, const auto& value, const auto& rule) {
    reader.Fail(key, value, rule);
  });
  return job;
}

void CheckJobRules(const Job& job, const BrokenRule& fail) {
  CheckNames(job, fail);
  CheckLevels(job, fail);
  CheckGamma(job, fail);
  CheckPattern(job, fail);
}

std::string JobText(const Job& job) {
  TomlWriter writer(kHeading);
  VisitJob(writer, job);
  return writer.text();
}

}  // namespace multilayer::tool

// Loading with checks; targets from the top layer.
#include "tool/measurements.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

#include "tool/error.h"
#include "tool/files.h"
#include "tool/statistics.h"
#include "tool/table.h"

namespace multilayer::tool {
namespace {

void Expect(const std::filesystem::path& path, const char* field, int64_t value, int64_t due) {
  if (value != due) {
    throw Failure(Exit::kBrokenFile, path.string() + ": " + field + " is " + std::to_string(value) +
                                         ": the job expects " + std::to_string(due));
  }
}

// Luminance at full drive of the live LEDs of one measurement.
void AppendFullScale(const LedMeter& meter, std::vector<double>& values) {
  const auto norm = static_cast<double>(meter.layer->linear_norms);
  for (int row = 0; row < meter.chroma.rows; ++row) {
    const auto* chroma = meter.chroma.ptr<float>(row);
    const auto* state = meter.state.ptr<uint8_t>(row);
    for (int col = 0; col < meter.chroma.cols; ++col) {
      if ((state[col] & LED_DEAD) == 0 && chroma[col] > 0) {
        values.push_back(static_cast<double>(chroma[col]) / norm);
      }
    }
  }
}

// The smallest decrease, in steps of 0.001, with which `share` of the LEDs reach the target.
double DecreaseFor(std::vector<double>& full_scale, double luminance, double share) {
  constexpr double kStep = 0.001;
  const double exact = 1 - ReachedBy(full_scale, share) / luminance;
  return std::max(0.0, std::ceil(exact / kStep) * kStep);
}

}  // namespace

LedMeter LoadMeasurement(const std::filesystem::path& path, int32_t color, int32_t type,
                         int32_t level) {
  LedMeter meter = LoadMeter(path);
  if (meter.part == nullptr || meter.layer == nullptr) {
    throw Failure(Exit::kBrokenFile, path.string() + ": has no " +
                                         (meter.part == nullptr ? "part" : "layer") +
                                         " record: a calibration needs it");
  }
  if (color != kAnyColor) {
    Expect(path, "color", meter.color, color);
  }
  Expect(path, "type", meter.type, type);
  Expect(path, "layer.value", meter.layer->value, level);
  if (!(meter.layer->linear_norms > 0)) {
    throw Failure(Exit::kBrokenFile, path.string() + ": layer.linear_norms is 0: must be above 0");
  }
  return meter;
}

LedMeter LoadMeasurement(const Job& job, const std::string& partition, size_t colour,
                         int32_t level) {
  return LoadMeasurement(job.MeterFile(partition, colour, level), kColorCodes[colour], CIE_Y,
                         level);
}

PartitionMeters LoadPartition(const Job& job, const std::string& partition) {
  PartitionMeters meters;
  for (size_t colour = 0; colour < meters.size(); ++colour) {
    for (const int32_t level : job.levels) {
      meters[colour].push_back(LoadMeasurement(job, partition, colour, level));
      const PartRecord& part = *meters[colour].back().part;
      if (std::memcmp(&part, meters[0][0].part.get(), sizeof part) != 0) {
        throw Failure(Exit::kBrokenFile,
                      job.MeterFile(partition, colour, level).string() + ": part differs from " +
                          job.MeterFile(partition, 0, job.levels.front()).string() +
                          ": all measurements of a partition must cover the same LEDs");
      }
    }
  }
  return meters;
}

Targets FindTargets(const Job& job) {
  Targets targets;
  targets.luminance = job.luminance.value_or(targets.luminance);
  targets.decrease = job.decrease.value_or(targets.decrease);
  if (job.luminance && job.decrease) {
    return targets;
  }
  Progress progress("targets", 3 * job.partitions.size());
  for (size_t colour = 0; colour < 3; ++colour) {
    std::vector<double> full_scale;
    for (const std::string& partition : job.partitions) {
      AppendFullScale(LoadMeasurement(job, partition, colour, job.levels.back()), full_scale);
      progress.Step();
    }
    if (full_scale.empty()) {
      throw Failure(Exit::kRefused, std::string("no ") + kColours[colour] + " LED lives at gray " +
                                        std::to_string(job.levels.back()));
    }
    if (!job.luminance) {
      targets.luminance[colour] = std::accumulate(full_scale.begin(), full_scale.end(), 0.0) /
                                  static_cast<double>(full_scale.size());
    }
    if (!job.decrease) {
      targets.decrease[colour] =
          DecreaseFor(full_scale, targets.luminance[colour], job.reach_percentile / 100);
    }
  }
  return targets;
}

void SetParameters(const Job& job, const Targets& targets, MultiLayerCoeff& engine) {
  constexpr int32_t kOnePass = -1;
  SetParameters(job, targets, job.levels, kOnePass, engine);
}

void SetParameters(const Job& job, const Targets& targets, const std::vector<int32_t>& order,
                   int32_t step, MultiLayerCoeff& engine) {
  std::array<float, 9> rgb_to_y = {};
  for (size_t colour = 0; colour < 3; ++colour) {
    rgb_to_y[3 * colour] = static_cast<float>(targets.luminance[colour]);
  }
  const std::vector<double> decrease(targets.decrease.begin(), targets.decrease.end());
  const int32_t status = engine.SetParamLum(job.GammaTable(), decrease, rgb_to_y.data(), order,
                                            step, job.layers, job.bit_width);
  if (status != 0) {
    throw Failure(Exit::kRefused,
                  "the library refuses the parameters with status " + std::to_string(status));
  }
}

}  // namespace multilayer::tool

// One line a measurement; what is missing is a dash, or null.
#include "bench/report.h"

#include <cstdio>
#include <fstream>

#include <nlohmann/json.hpp>

namespace multilayer::bench {
namespace {

using Json = nlohmann::ordered_json;

std::string SizeOf(const Measurement& m) {
  return std::to_string(m.size.width) + " x " + std::to_string(m.size.height);
}

double NanosecondsPerLed(const Measurement& m, const Time& time) {
  return 1e9 * time.median / m.size.area();
}

double BytesPerSecond(const Measurement& m) {
  return static_cast<double>(m.moved_bytes) / m.shipped.median;
}

// Of an operation that reads no memory, such as loading a file, there is no ratio to its inputs.
std::optional<double> PeakOverInput(const Measurement& m) {
  if (!m.footprint || m.footprint->inputs == 0) {
    return std::nullopt;
  }
  return static_cast<double>(m.footprint->held + m.footprint->beyond) /
         static_cast<double>(m.footprint->inputs);
}

std::optional<double> MebibytesBeyond(const Measurement& m) {
  if (!m.footprint) {
    return std::nullopt;
  }
  return static_cast<double>(m.footprint->beyond) / (1 << 20);
}

std::optional<double> OverPlain(const Measurement& m) {
  return m.plain ? std::optional(m.plain->median / m.shipped.median) : std::nullopt;
}

std::string Number(std::optional<double> value, const char* format) {
  char text[32] = "-";
  if (value) {
    std::snprintf(text, sizeof text, format, *value);
  }
  return text;
}

Json ToJson(std::optional<double> value) { return value ? Json(*value) : Json(nullptr); }

std::string ProcessorModel() {
  std::ifstream file("/proc/cpuinfo");
  for (std::string line; std::getline(file, line);) {
    if (line.rfind("model name", 0) == 0) {
      return line.substr(line.find(": ") + 2);
    }
  }
  return "unknown";
}

Json RowOf(const Measurement& m) {
  const auto time = [&m](const Time& t) { return NanosecondsPerLed(m, t); };
  return {{"computation", m.computation},
          {"width", m.size.width},
          {"height", m.size.height},
          {"instruction_set", m.instruction_set.empty() ? Json(nullptr) : Json(m.instruction_set)},
          {"ns_per_led", time(m.shipped)},
          {"spread", m.shipped.spread},
          {"plain_ns_per_led", m.plain ? Json(time(*m.plain)) : Json(nullptr)},
          {"floor_ns_per_led", time(m.floor)},
          {"floor_spread", m.floor.spread},
          {"times_faster_than_plain", ToJson(OverPlain(m))},
          {"over_floor", m.shipped.median / m.floor.median},
          {"bytes_per_second", BytesPerSecond(m)},
          {"peak_over_input", ToJson(PeakOverInput(m))},
          {"mebibytes_beyond", ToJson(MebibytesBeyond(m))},
          {"same_as_defined", m.same_as_defined ? Json(*m.same_as_defined) : Json(nullptr)}};
}

}  // namespace

void PrintHeader() {
  std::printf("%-30s %-11s %-6s %8s %7s %7s %7s %6s %7s %8s  %s\n", "computation", "LEDs", "set",
              "ns/LED", "spread", "x plain", "x floor", "GB/s", "peak/in", "MiB more", "bytes");
}

void PrintRow(const Measurement& m) {
  std::printf("%-30s %-11s %-6s %8s %7s %7s %7s %6s %7s %8s  %s\n", m.computation.c_str(),
              SizeOf(m).c_str(), m.instruction_set.empty() ? "-" : m.instruction_set.c_str(),
              Number(NanosecondsPerLed(m, m.shipped), "%.2f").c_str(),
              Number(100 * m.shipped.spread, "%.0f %%").c_str(),
              Number(OverPlain(m), "%.1f").c_str(),
              Number(m.shipped.median / m.floor.median, "%.2f").c_str(),
              Number(1e-9 * BytesPerSecond(m), "%.1f").c_str(),
              Number(PeakOverInput(m), "%.2f").c_str(), Number(MebibytesBeyond(m), "%.1f").c_str(),
              !m.same_as_defined   ? "-"
              : *m.same_as_defined ? "equal"
                                   : "DIFFERENT");
  std::fflush(stdout);
}

bool WriteJson(const std::string& fullname, const std::vector<Measurement>& measurements) {
  Json json = {
      {"processor", ProcessorModel()}, {"compiler", __VERSION__}, {"measurements", Json::array()}};
  for (const Measurement& m : measurements) {
    json["measurements"].push_back(RowOf(m));
  }
  std::ofstream file(fullname);
  file << json.dump(1) << std::endl;
  return file.good();
}

}  // namespace multilayer::bench

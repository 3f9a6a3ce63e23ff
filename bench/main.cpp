// Every computation against its plain definition and against the floor, on one thread.
#include <cstdio>
#include <malloc.h>
#include <regex>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <benchmark/benchmark.h>

#include "bench/instruction_sets.h"
#include "bench/measure.h"
#include "bench/report.h"

namespace multilayer::bench {
namespace {

struct Options {
  std::string filter = ".";
  std::vector<std::string> sizes = {"256x256", "1920x1080", "3840x2160"};
  std::vector<std::string> sets = AvailableSets();
  std::string json;
  Repetitions repetitions;
};

cv::Size ParseSize(const std::string& text) {
  cv::Size size;
  char rest = 0;
  if (std::sscanf(text.c_str(), "%dx%d%c", &size.width, &size.height, &rest) != 2 ||
      size.width < 1 || size.height < 1 || size.width > (1 << 15) || size.height > (1 << 15)) {
    throw CLI::ValidationError("--size " + text, "is not WIDTHxHEIGHT");
  }
  return size;
}

// Freed memory stays with the process, so that what is made anew has pages that were touched before.
// Otherwise their first touch, at several times the cost of a copy, would come and go with what was
// measured before: from that, the C library learns which blocks to give back.
void KeepPages() {
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, -1);
}

int Run(const Options& options) {
  const std::regex filter(options.filter);
  std::vector<cv::Size> sizes;
  for (const std::string& size : options.sizes) {
    sizes.push_back(ParseSize(size));
  }
  std::vector<Measurement> all;
  bool same = true;
  PrintHeader();
  for (const Case& which : Cases()) {
    if (!std::regex_search(which.name, filter)) {
      continue;
    }
    for (const cv::Size size : sizes) {
      for (const Measurement& one : Measure(which, size, options.sets, options.repetitions)) {
        PrintRow(one);
        same &= one.same_as_defined.value_or(true);
        all.push_back(one);
      }
    }
  }
  if (all.empty()) {
    std::fprintf(stderr, "bench: no computation is called like \"%s\"\n", options.filter.c_str());
    return 2;
  }
  if (!options.json.empty() && !WriteJson(options.json, all)) {
    std::fprintf(stderr, "bench: cannot write %s\n", options.json.c_str());
    return 2;
  }
  if (!same) {
    std::fprintf(stderr, "bench: results differ from the plain definition\n");
  }
  return same ? 0 : 1;
}

int Main(int argc, char** argv) {
  Options options;
  CLI::App app("Times every computation, as shipped, as defined, and the floor.");
  app.add_option("filter", options.filter, "Regular expression over the computations' names");
  app.add_option("--size", options.sizes, "LEDs, WIDTHxHEIGHT; may be repeated")
      ->capture_default_str();
  app.add_option("--set", options.sets, "Instruction set of the kernels; may be repeated")
      ->check(CLI::IsMember(AvailableSets()))
      ->capture_default_str();
  app.add_option("--json", options.json, "File to write the table to as JSON")->take_last();
  app.add_option("--repetitions", options.repetitions.count, "Of which the median counts")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_option("--seconds", options.repetitions.seconds, "Shortest time of a repetition")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  CLI11_PARSE(app, argc, argv);
  try {
    return Run(options);
  } catch (const CLI::ParseError& error) {
    return app.exit(error);
  }
}

}  // namespace
}  // namespace multilayer::bench

int main(int argc, char** argv) {
  try {
    cv::setNumThreads(1);
    multilayer::bench::KeepPages();
    return multilayer::bench::Main(argc, argv);
  } catch (const std::exception& error) {  // a filter that is no expression, or no memory
    std::fprintf(stderr, "bench: %s\n", error.what());
    return 2;
  }
}

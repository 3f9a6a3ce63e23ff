// `multilayer info`: what is in a file, and whether it is sound.
#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tool/commands.h"
#include "tool/error.h"
#include "tool/files.h"
#include "tool/scan.h"
#include "tool/table.h"

namespace multilayer::tool {
namespace {

struct InfoOptions {
  std::vector<std::string> files;
  bool matrix = false;
  bool json = false;
};

double ShareOfOnes(const MatrixReport& matrix) {
  return matrix.count == 0 ? 0
                           : static_cast<double>(matrix.ones) / static_cast<double>(matrix.count);
}

nlohmann::ordered_json ToJson(const MatrixReport& matrix) {
  nlohmann::ordered_json json = {{"name", matrix.name},
                                 {"rows", matrix.rows},
                                 {"cols", matrix.cols},
                                 {"channels", matrix.channels},
                                 {"min", matrix.min},
                                 {"mean", matrix.mean},
                                 {"max", matrix.max},
                                 {"share_of_ones", ShareOfOnes(matrix)},
                                 {"non_finite", matrix.non_finite}};
  if (matrix.name == "state") {
    json["unusable"] = matrix.flagged;
  }
  return json;
}

nlohmann::ordered_json ToJson(const FileReport& report) {
  nlohmann::ordered_json matrices = nlohmann::ordered_json::array();
  for (const MatrixReport& matrix : report.matrices) {
    matrices.push_back(ToJson(matrix));
  }
  nlohmann::ordered_json json = {{"file", report.path},
                                 {"format", report.format},
                                 {"bytes", report.bytes},
                                 {"sound", report.problem.empty()}};
  json["problem"] =
      report.problem.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(report.problem);
  json["header"] = report.header;
  json["matrices"] = matrices;
  return json;
}

std::string ToText(const FileReport& report) {
  std::string text =
      report.path + ": " + report.format + ", " + std::to_string(report.bytes) + " bytes\n";
  for (const auto& [key, value] : report.header.items()) {
    text += "  " + key + std::string(std::max<size_t>(22, key.size()) - key.size(), ' ') + " " +
            value.dump() + "\n";
  }
  if (!report.matrices.empty()) {
    const bool meter = report.format == "meter";
    Table table(
        {"matrix", "size", "min", "mean", "max", meter ? "unusable" : "exactly 1", "non-finite"},
        1);
    for (const MatrixReport& m : report.matrices) {
      const std::string last = !meter              ? Percent(ShareOfOnes(m), 3)
                               : m.name == "state" ? std::to_string(m.flagged)
                                                   : "-";
      table.Add({m.name, std::to_string(m.cols) + "x" + std::to_string(m.rows), Fixed(m.min, 6),
                 Fixed(m.mean, 6), Fixed(m.max, 6), last, std::to_string(m.non_finite)});
    }
    text += table.Text();
  }
  return text + (report.problem.empty() ? "sound\n\n" : "BROKEN: " + report.problem + "\n\n");
}

constexpr const char* kNames = ".mlcoefs, .meter, .whitecoeff, .lumcoeff or .chromacoeff";

// A binary matrix has no extension of its own: only the caller knows it.
void CheckNames(const InfoOptions& options) {
  for (const std::string& file : options.files) {
    if (!options.matrix && !IsScannable(file)) {
      throw Failure(Exit::kWrongCall, file + ": must end with " + kNames +
                                          ", or be a binary matrix and --matrix given");
    }
  }
}

// All files are looked at, whatever is wrong with the first; the worst of them gives the code.
void RunInfo(const InfoOptions& options) {
  CheckNames(options);
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  std::vector<Failure> failures;
  for (const std::string& file : options.files) {
    FileReport report;
    try {
      report = Scan(file);
      if (!report.problem.empty()) {
        failures.emplace_back(Exit::kBrokenFile, report.path + ": " + report.problem);
      }
    } catch (const Failure& failure) {
      report.path = file;
      report.problem = failure.what();
      failures.push_back(failure);
    }
    if (options.json) {
      all.push_back(ToJson(report));
    } else if (!report.format.empty()) {
      PrintOut(ToText(report));
    }
  }
  if (options.json) {
    PrintOut(all.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
  }
  if (failures.empty()) {
    return;
  }
  const auto worst =
      std::max_element(failures.begin(), failures.end(),
                       [](const Failure& a, const Failure& b) { return a.code() < b.code(); });
  std::iter_swap(worst, failures.end() - 1);
  for (size_t i = 0; i + 1 < failures.size(); ++i) {
    std::fprintf(stderr, "multilayer: error: %s\n", failures[i].what());
  }
  throw failures.back();
}

}  // namespace

void AddInfo(CommandLine& line) {
  auto options = std::make_shared<InfoOptions>();
  const Subcommand info =
      line.Add("info", "Show what is in a file of any format, and check it strictly",
               [options] { RunInfo(*options); });
  info.Add("files", options->files, std::string("Files ending with ") + kNames)
      .Required()
      .Named("FILE");
  info.AddFlag("--matrix", options->matrix, "Take files with other names as binary matrices");
  info.AddFlag("--json", options->json, "Print one JSON list with an object per file");
  info.Footer(
      "Every byte is accounted for: the length, every header field and every value must follow\n"
      "the rules of the format. A broken file gives exit code 3 and the byte, the field, the "
      "value\n"
      "and the rule.\n\nExample:\n  multilayer info --json demo/p00.mlcoefs "
      "demo/p00_red_255.meter");
}

}  // namespace multilayer::tool

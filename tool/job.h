// The job file, wall.toml: what was measured, where the files are, and what to correct towards.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <opencv2/core/mat.hpp>

namespace multilayer::tool {

// Names of the colours in file names and messages, in the order of everything: red, green, blue.
inline constexpr std::array<const char*, 3> kColours = {"red", "green", "blue"};

struct Job {
  std::filesystem::path file;  // the job file; the paths below are relative to its folder

  // [capture]
  std::vector<int32_t> levels = {64, 96, 128, 192, 255};
  std::vector<std::string> partitions;
  std::string files = "{partition}_{color}_{level:03}.meter";
  // [display]
  int32_t gamma_levels = 256;
  int32_t gamma_bits = 16;
  double gamma = 2.2;
  std::vector<int32_t> gamma_table;  // empty: from the three above
  // [coefficients]
  int32_t bit_width = 16;
  int32_t layers = 5;
  // [target]
  double reach_percentile = 99.9;
  std::optional<std::array<double, 3>> luminance;
  std::optional<std::array<double, 3>> decrease;
  // [white]
  std::array<double, 2> chromaticity = {0.3127, 0.3290};
  double white_reach_percentile = 99.9;
  std::optional<std::array<double, 3>> white;
  // [verify]
  double captured = 1.25;
  double between = 2.0;
  int32_t from_level = 64;
  double white_p95 = 0.0015;
  double white_modules = 0.0005;

  std::filesystem::path Folder() const { return file.parent_path(); }
  std::filesystem::path MeterFile(const std::string& partition, size_t colour, int32_t level) const;
  std::filesystem::path TruthFile() const { return Folder() / "truth.toml"; }
  // CV_32SC1, 3 rows x gray levels.
  cv::Mat GammaTable() const;
};

// Reads and checks a job file. Throws kFileAccess, kBrokenFile.
Job ReadJob(const std::filesystem::path& path);

// The rules that span several keys, or the characters of one. `broken` is called with the key, its
// value and the rule, and must throw.
using BrokenRule =
    std::function<void(const std::string& key, const std::string& value, const std::string& rule)>;
void CheckJobRules(const Job& job, const BrokenRule& broken);

// The text of the job file, with an explanation of every key.
std::string JobText(const Job& job);

}  // namespace multilayer::tool

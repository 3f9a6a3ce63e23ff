// The strict reading of a file: every byte accounted for, every field against its rule. The
// library's loaders accept what they must; this says whether a file is sound.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace multilayer::tool {

// The values of one matrix of the file.
struct MatrixReport {
  std::string name;
  int32_t rows = 0;
  int32_t cols = 0;
  int32_t type = 0;  // OpenCV type code
  int32_t channels = 0;
  uint64_t count = 0;
  uint64_t ones = 0;        // exactly 1.0: no correction
  uint64_t flagged = 0;     // bit 0 set: an unusable LED of a state matrix
  uint64_t non_finite = 0;  // left out of the three below
  double min = 0;
  double mean = 0;
  double max = 0;
};

struct FileReport {
  std::string path;
  std::string format;  // the extension without its dot, or "matrix"
  uint64_t bytes = 0;
  nlohmann::ordered_json header = nlohmann::ordered_json::object();
  std::vector<MatrixReport> matrices;
  // The first broken rule: at which byte, which field, which value, which rule. Empty: sound.
  std::string problem;
};

// True for a name that ends with ".mlcoefs", ".meter", ".whitecoeff", ".lumcoeff" or
// ".chromacoeff".
bool IsScannable(const std::filesystem::path& path);

// Reads the file through once, with little memory; one with another name must be a binary matrix.
// What stands before a broken place is in the report. Throws kFileAccess if the file cannot be read.
FileReport Scan(const std::filesystem::path& path);

// Throws kBrokenFile with the problem, if there is one.
FileReport RequireSound(const std::filesystem::path& path);

}  // namespace multilayer::tool

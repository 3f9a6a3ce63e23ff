// The rules of the formats.
#include "tool/scan.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <iterator>
#include <limits>
#include <memory>
#include <system_error>

#include <opencv2/core.hpp>
#include <sys/stat.h>

#include "multilayer/io/file.h"
#include "multilayer/io/metadata.h"
#include "multilayer/meter/led_meter.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "tool/error.h"
#include "tool/scanner.h"

namespace multilayer::tool {
namespace {

namespace fs = std::filesystem;

constexpr int32_t kMaxInt = std::numeric_limits<int32_t>::max();
constexpr const char* kColourNames[] = {"red", "green", "blue"};

File Open(const fs::path& path, uint64_t& length) {
  struct stat status = {};
  errno = 0;
  if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
    throw Failure(Exit::kFileAccess, path.string() + ": is no regular file");
  }
  File file(std::fopen(path.c_str(), "rb"));
  if (file == nullptr || fstat(fileno(file.get()), &status) != 0) {
    throw Failure(Exit::kFileAccess,
                  path.string() + ": cannot be opened: " + std::generic_category().message(errno));
  }
  length = static_cast<uint64_t>(status.st_size);
  return file;
}

void ScanMark(Scanner& scanner) {
  const auto mark = scanner.Get<uint8_t>("byte-order mark");
  scanner.Require(mark == 'L', mark, "76 (\"L\")");
}

void ScanPositions(Scanner& scanner, int32_t layers, FileReport& report) {
  const std::vector<int32_t> positions = scanner.IntMatrix("pos_hardware", 3, layers);
  const auto count = static_cast<size_t>(layers);
  const std::vector<int32_t> first(positions.begin(),
                                   positions.begin() + static_cast<std::ptrdiff_t>(count));
  report.header["pos_hardware"] = first;
  for (size_t i = 0; i < positions.size(); ++i) {
    const int32_t value = positions[i];
    scanner.Require(value == first[i % count], value, "equal in all three rows");
    scanner.Require(value >= 0, value, "0 or more");
    scanner.Require(i % count == 0 || value > positions[i - 1], value,
                    "above the position before it, " + std::to_string(positions[i - (i > 0)]));
  }
}

void ScanCoefficients(Scanner& scanner, FileReport& report) {
  const PartSize size = ScanPart(scanner, "part");
  scanner.Int("capture_layer_num", 1, MultiLayerCoeff::kMaxCoefLayers);
  const int32_t layers = scanner.Int("coef_layer_num", 1, MultiLayerCoeff::kMaxCoefLayers);
  scanner.Int("bit_width", 16, 24);
  for (const char* colour : kColourNames) {
    const auto ratio = scanner.Header<double>(std::string("lum_dec_ratio.") + colour);
    scanner.Require(std::isfinite(ratio) && ratio < 1, ratio, "finite and below 1");
  }
  ScanPositions(scanner, layers, report);
  for (int32_t layer = 0; layer < layers; ++layer) {
    for (const char* colour : kColourNames) {
      scanner.Matrix(std::string(colour) + " " + std::to_string(layer),
                     {size.h, size.w, CV_32FC1, false});
    }
  }
}

void ScanPanel(Scanner& scanner) {
  for (const char* field : {"panel.type", "panel.layout", "panel.subpixel_type"}) {
    scanner.Header<int32_t>(field);
  }
  scanner.Int("panel.w", 1, kMaxInt);
  scanner.Int("panel.h", 1, kMaxInt);
  const auto pitch = scanner.Header<float>("panel.pixel_pitch");
  scanner.Require(std::isfinite(pitch) && pitch >= 0, pitch, "finite and 0 or more");
}

void ScanLayer(Scanner& scanner) {
  scanner.Int("layer.index", 0, kMaxInt);
  const auto norms = scanner.Header<float>("layer.linear_norms");
  scanner.Require(norms >= 0 && norms <= 1, norms, "0 to 1");
  scanner.Int("layer.value", 0, kMaxInt);
}

void ScanCapture(Scanner& scanner) {
  for (const char* field : {"capture.exposure", "capture.gain", "capture.aperture",
                            "capture.microfocus", "capture.filter"}) {
    scanner.Header<int32_t>(field);
  }
}

void RequireLeds(const PartSize& size, const MatrixReport& matrix) {
  if (size.w != matrix.cols || size.h != matrix.rows) {
    throw Broken("part is " + std::to_string(size.w) + " x " + std::to_string(size.h) +
                 ": must be the " + std::to_string(matrix.cols) + " x " +
                 std::to_string(matrix.rows) + " LEDs of " + matrix.name);
  }
}

// Tagged records up to the end marker, each at most once.
void ScanRecords(Scanner& scanner, const MatrixReport& chroma) {
  int32_t seen = 0;
  for (auto tag = scanner.Get<int32_t>("tag"); tag != TAG_END; tag = scanner.Get<int32_t>("tag")) {
    const bool known =
        tag == TAG_PART || tag == TAG_PANEL || tag == TAG_LAYER || tag == TAG_CAPTURE;
    scanner.Require(known, tag, "2, 4, 8, 16 or -1");
    scanner.Require((seen & tag) == 0, tag, "there only once");
    seen |= tag;
    if (tag == TAG_PART) {
      RequireLeds(ScanPart(scanner, "part"), chroma);
    } else if (tag == TAG_PANEL) {
      ScanPanel(scanner);
    } else if (tag == TAG_LAYER) {
      ScanLayer(scanner);
    } else {
      ScanCapture(scanner);
    }
  }
}

void ScanMeter(Scanner& scanner, FileReport& /*report*/) {
  const auto is_one_bit_of = [](int32_t value, int32_t bits) {
    return (value & bits) == value && value > 0 && (value & (value - 1)) == 0;
  };
  const auto color = scanner.Header<int32_t>("color");
  scanner.Require(is_one_bit_of(color, COLOR_RED | COLOR_GREEN | COLOR_BLUE), color,
                  "1 (blue), 2 (green) or 4 (red)");
  const auto type = scanner.Header<int32_t>("type");
  scanner.Require(is_one_bit_of(type, CIE_XYZ | CAM_RGB), type,
                  "1, 2, 4 (CIE X, Y, Z) or 16, 32, 64 (camera R, G, B)");
  const MatrixReport state = scanner.Matrix("state", {0, 0, CV_8UC1, false});
  scanner.Matrix("pos", {state.rows, state.cols, CV_32FC2, true});
  ScanRecords(scanner, scanner.Matrix("chroma", {state.rows, state.cols, CV_32FC1, false}));
}

// Planes of one size, and the part that they cover.
MatrixReport ScanPlanes(Scanner& scanner, const std::vector<std::string>& names, bool finite) {
  MatrixReport first;
  for (const std::string& name : names) {
    const MatrixReport plane =
        scanner.Matrix(name, {first.rows, first.cols, CV_32FC1, false, finite});
    first = first.rows == 0 ? plane : first;
  }
  RequireLeds(ScanPart(scanner, "part"), first);
  return first;
}

const std::vector<std::string>& ColourNames() {
  static const std::vector<std::string> names(std::begin(kColourNames), std::end(kColourNames));
  return names;
}

void ScanWhite(Scanner& scanner, FileReport& /*report*/) {
  const int32_t singular = scanner.Int("singular_count", 0, kMaxInt);
  const MatrixReport red = ScanPlanes(scanner, ColourNames(), true);
  if (static_cast<uint64_t>(singular) > red.count) {
    throw Broken("singular_count is " + std::to_string(singular) + ": must be at most the " +
                 std::to_string(red.count) + " LEDs");
  }
}

// The factor of an LED that measured dark is not finite, by definition.
constexpr bool kNotAllFinite = false;

void ScanLum(Scanner& scanner, FileReport& /*report*/) {
  ScanPlanes(scanner, ColourNames(), kNotAllFinite);
}

void ScanChroma(Scanner& scanner, FileReport& /*report*/) {
  std::vector<std::string> names;
  for (const std::string& corrected : ColourNames()) {
    for (const std::string& primary : ColourNames()) {
      names.push_back(std::string(corrected).append(" from ").append(primary));
    }
  }
  ScanPlanes(scanner, names, kNotAllFinite);
}

// The one format without a version.
void ScanMatrix(Scanner& scanner, FileReport& report) {
  const MatrixReport matrix = scanner.Matrix("matrix", {0, 0, kAnyType, true, kNotAllFinite});
  report.header["type"] = matrix.count == 0 ? "empty" : cv::typeToString(matrix.type);
}

struct Format {
  const char* name;
  bool versioned;
  void (*scan)(Scanner& scanner, FileReport& report);
};
constexpr Format kFormats[] = {
    {"mlcoefs", true, ScanCoefficients}, {"meter", true, ScanMeter},
    {"whitecoeff", true, ScanWhite},     {"lumcoeff", true, ScanLum},
    {"chromacoeff", true, ScanChroma},   {"matrix", false, ScanMatrix},
};
const Format& kMatrix = kFormats[std::size(kFormats) - 1];

const Format& FormatOf(const fs::path& path) {
  const std::string extension = path.extension().string().erase(0, 1);  // the dot
  return *std::find_if(std::begin(kFormats), std::end(kFormats) - 1,
                       [&](const Format& format) { return extension == format.name; });
}

}  // namespace

bool IsScannable(const fs::path& path) { return &FormatOf(path) != &kMatrix; }

FileReport Scan(const fs::path& path) {
  const Format& format = FormatOf(path);
  FileReport report;
  report.path = path.string();
  report.format = format.name;
  const File file = Open(path, report.bytes);
  Scanner scanner(file.get(), report.bytes, report);
  try {
    ScanMark(scanner);
    if (format.versioned) {
      scanner.Int("version", 1, 1);
    }
    format.scan(scanner, report);
    scanner.End();
  } catch (const Broken& broken) {
    scanner.Note(broken.what());
  }
  if (std::ferror(file.get()) != 0) {
    throw Failure(Exit::kFileAccess, path.string() + ": cannot be read");
  }
  return report;
}

FileReport RequireSound(const fs::path& path) {
  FileReport report = Scan(path);
  if (!report.problem.empty()) {
    throw Failure(Exit::kBrokenFile, report.path + ": " + report.problem);
  }
  return report;
}

}  // namespace multilayer::tool

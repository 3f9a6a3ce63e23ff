// Fields, matrices and their rules.
#include "tool/scanner.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <type_traits>
#include <vector>

#include <opencv2/core.hpp>

#include "multilayer/multi_layer/multi_layer_coeff.h"

namespace multilayer::tool {
namespace {

std::string Place(uint64_t offset, const std::string& field) {
  return "byte " + std::to_string(offset) + ", " + field;
}

// A 16-bit float, which the matrix library widens only to float.
struct Half {
  cv::float16_t value;
  explicit operator double() const { return static_cast<double>(static_cast<float>(value)); }
};
static_assert(sizeof(Half) == 2);

// Adds up finite values; the mean takes its divisor at the end.
template <class Value>
void Count(MatrixReport& report, const Value* values, uint64_t count) {
  for (uint64_t i = 0; i < count; ++i) {
    const auto value = static_cast<double>(values[i]);
    ++report.count;
    report.ones += value == 1.0 ? 1 : 0;
    if (!std::isfinite(value)) {
      ++report.non_finite;
      continue;
    }
    report.mean += value;
    report.min = std::min(report.min, value);
    report.max = std::max(report.max, value);
  }
}

// `count` if all are finite, as integers are.
template <class Value>
uint64_t FirstNonFinite(const std::vector<Value>& values, uint64_t count) {
  if constexpr (std::is_integral_v<Value>) {
    return count;
  }
  const auto end = values.begin() + static_cast<std::ptrdiff_t>(count);
  const auto found = std::find_if(values.begin(), end,
                                  [](Value v) { return !std::isfinite(static_cast<double>(v)); });
  return static_cast<uint64_t>(found - values.begin());
}

}  // namespace

std::string Scanner::ToText(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.9g", value);
  return text;
}

void Scanner::Expect(const std::string& field, uint64_t size) {
  field_ = field;
  field_offset_ = offset();
  if (reader_.remaining() < size) {
    throw Broken(Place(field_offset_, field) + ": the file ends after " + std::to_string(length_) +
                 " bytes, " + std::to_string(size) + " more are due here");
  }
}

void Scanner::Stop(const std::string& value, const std::string& rule) const {
  throw Broken(Place(field_offset_, field_) + " is " + value + ": must be " + rule);
}

void Scanner::Note(const std::string& problem) {
  if (report_.problem.empty()) {
    report_.problem = problem;
  }
}

int32_t Scanner::Int(const std::string& field, int32_t low, int32_t high) {
  const auto value = Header<int32_t>(field);
  const std::string upper =
      high == std::numeric_limits<int32_t>::max() ? " or more" : " to " + std::to_string(high);
  Require(value >= low && value <= high, value, std::to_string(low) + upper);
  return value;
}

MatrixReport Scanner::MatrixHeader(const std::string& name, const MatrixRule& rule) {
  MatrixReport report;
  report.name = name;
  report.rows = Get<int32_t>(name + ".rows");
  const bool empty = rule.may_be_empty && report.rows == 0;
  const auto fits = [empty](int32_t value, int32_t due) {
    return empty ? value == 0 : due == 0 ? value >= 1 : value == due;
  };
  const auto due_text = [empty](int32_t due) {
    return empty ? "0 in an empty matrix" : due == 0 ? "1 or more" : std::to_string(due);
  };
  Require(fits(report.rows, rule.rows), report.rows, due_text(rule.rows));
  report.cols = Get<int32_t>(name + ".cols");
  Require(fits(report.cols, rule.cols), report.cols, due_text(rule.cols));
  const bool any_type = rule.type == kAnyType && !empty;
  report.type = Get<int32_t>(name + ".type");
  Require(
      any_type ? (report.type & ~CV_MAT_TYPE_MASK) == 0 : report.type == (empty ? 0 : rule.type),
      report.type,
      any_type ? "0 to " + std::to_string(CV_MAT_TYPE_MASK)
               : std::to_string(empty ? 0 : rule.type));
  report.channels = Get<int32_t>(name + ".channels");
  const int32_t channels = empty ? 0 : CV_MAT_CN(report.type);
  Require(report.channels == channels, report.channels, std::to_string(channels));
  // Below 2^62, so the bytes below cannot overflow once the count is known to be small.
  const uint64_t count = static_cast<uint64_t>(report.rows) * static_cast<uint64_t>(report.cols);
  const int32_t most = any_type ? std::numeric_limits<int32_t>::max() : MultiLayerCoeff::kMaxLeds;
  if (count > static_cast<uint64_t>(most)) {
    throw Broken(Place(field_offset_, name) + " has " + std::to_string(count) +
                 " elements: must be at most " + std::to_string(most));
  }
  Expect(name, count * static_cast<uint64_t>(report.channels) * CV_ELEM_SIZE1(report.type));
  return report;
}

// In blocks, so that a matrix of any size takes the same memory.
template <class Value>
void Scanner::Collect(MatrixReport& report, bool finite) {
  constexpr uint64_t kBlock = 65536;
  std::vector<Value> block(kBlock);
  uint64_t left = static_cast<uint64_t>(report.rows) * static_cast<uint64_t>(report.cols) *
                  static_cast<uint64_t>(report.channels);
  report.min = left > 0 ? std::numeric_limits<double>::infinity() : 0;
  report.max = -report.min;
  while (left > 0) {
    const uint64_t count = std::min(left, kBlock);
    const uint64_t begin = offset();
    reader_.Bytes(block.data(), count * sizeof(Value), sizeof(Value));
    if constexpr (std::is_same_v<Value, uint8_t>) {
      report.flagged += static_cast<uint64_t>(
          std::count_if(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(count),
                        [](Value state) { return (state & LED_DEAD) != 0; }));
    }
    if (finite) {
      const uint64_t first = FirstNonFinite(block, count);
      if (first < count) {
        Note(Place(begin + first * sizeof(Value), report.name) + " holds " +
             ToText(static_cast<double>(block[first])) + ": every value must be finite");
      }
    }
    Count(report, block.data(), count);
    left -= count;
  }
  const uint64_t usable = report.count - report.non_finite;
  report.mean = usable > 0 ? report.mean / static_cast<double>(usable) : 0;
  if (usable == 0) {
    report.min = report.max = 0;
  }
}

MatrixReport Scanner::Matrix(const std::string& name, const MatrixRule& rule) {
  using Collector = void (Scanner::*)(MatrixReport&, bool);
  constexpr Collector kByDepth[] = {&Scanner::Collect<uint8_t>,  &Scanner::Collect<int8_t>,
                                    &Scanner::Collect<uint16_t>, &Scanner::Collect<int16_t>,
                                    &Scanner::Collect<int32_t>,  &Scanner::Collect<float>,
                                    &Scanner::Collect<double>,   &Scanner::Collect<Half>};
  MatrixReport report = MatrixHeader(name, rule);
  (this->*kByDepth[CV_MAT_DEPTH(report.type)])(report, rule.finite);
  report_.matrices.push_back(report);
  return report;
}

std::vector<int32_t> Scanner::IntMatrix(const std::string& name, int32_t rows, int32_t cols) {
  const MatrixReport report = MatrixHeader(name, {rows, cols, CV_32SC1, false});
  std::vector<int32_t> values(static_cast<size_t>(report.rows) * static_cast<size_t>(report.cols));
  reader_.Bytes(values.data(), values.size() * sizeof(int32_t), sizeof(int32_t));
  return values;
}

void Scanner::End() {
  if (reader_.remaining() > 0) {
    throw Broken("byte " + std::to_string(offset()) + ": " + std::to_string(reader_.remaining()) +
                 " bytes follow the last field: the file must end here");
  }
}

PartSize ScanPart(Scanner& scanner, const std::string& prefix) {
  constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
  const int32_t x = scanner.Int(prefix + ".x", 0, kMax);
  const int32_t y = scanner.Int(prefix + ".y", 0, kMax);
  const int32_t w = scanner.Int(prefix + ".w", 1, kMax);
  const int32_t h = scanner.Int(prefix + ".h", 1, kMax);
  const auto leds = int64_t{w} * h;
  scanner.Require(leds <= MultiLayerCoeff::kMaxLeds, h,
                  "small enough for " + std::to_string(MultiLayerCoeff::kMaxLeds) + " LEDs in all");
  const auto inside = [&](int64_t first, int64_t count, const char* field) {
    const auto screen = scanner.Header<int32_t>(prefix + field);
    scanner.Require(first + count <= screen, screen,
                    "at least " + std::to_string(first + count) + ", where the partition ends");
  };
  inside(x, w, ".screen_w");
  inside(y, h, ".screen_h");
  return {w, h};
}

}  // namespace multilayer::tool

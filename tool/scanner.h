// One pass over a file for the strict checks: fields that know their byte, and rules that name it.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include "multilayer/io/byte_stream.h"
#include "tool/scan.h"

namespace multilayer::tool {

// A rule that leaves no sense in reading on.
class Broken : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// What a matrix record must be.
struct MatrixRule {
  int32_t rows = 0;  // 0: any, from 1
  int32_t cols = 0;
  int32_t type = 0;  // OpenCV type code, or kAnyType
  bool may_be_empty = false;
  bool finite = true;  // every value must be
};
inline constexpr int32_t kAnyType = -1;

class Scanner {
 public:
  Scanner(std::FILE* file, uint64_t length, FileReport& report)
      : reader_(file, length), length_(length), report_(report) {}

  // The next value, which Require then judges.
  template <class Value>
  Value Get(const std::string& field) {
    Value value{};
    Expect(field, sizeof value);
    reader_.Get(value);
    return value;
  }

  // As Get, of a value that belongs into the report's header.
  template <class Value>
  Value Header(const std::string& field) {
    const auto value = Get<Value>(field);
    report_.header[field] = value;
    return value;
  }

  // The rule for the last value: "must be ...". Stops the scan where it does not hold.
  template <class Value>
  void Require(bool holds, Value value, const std::string& rule) const {
    if (!holds) {
      Stop(ToText(value), rule);
    }
  }

  // A field of the header with a rule between two bounds.
  int32_t Int(const std::string& field, int32_t low, int32_t high);

  // A matrix record; its statistics join the report. A value that is not finite where it must be is
  // noted as a problem, and the scan goes on.
  MatrixReport Matrix(const std::string& name, const MatrixRule& rule);

  // Matrices of int32 that a rule has to see: few values.
  std::vector<int32_t> IntMatrix(const std::string& name, int32_t rows, int32_t cols);

  // No byte may follow.
  void End();

  // Notes a problem without stopping; the first one stands.
  void Note(const std::string& problem);

  uint64_t offset() const { return length_ - reader_.remaining(); }

 private:
  static std::string ToText(double value);
  static std::string ToText(float value) { return ToText(static_cast<double>(value)); }
  static std::string ToText(int32_t value) { return std::to_string(value); }
  static std::string ToText(uint8_t value) { return std::to_string(value); }

  void Expect(const std::string& field, uint64_t size);
  [[noreturn]] void Stop(const std::string& value, const std::string& rule) const;
  MatrixReport MatrixHeader(const std::string& name, const MatrixRule& rule);
  template <class Value>
  void Collect(MatrixReport& report, bool finite);

  ByteReader reader_;
  uint64_t length_;
  FileReport& report_;
  std::string field_;  // the last one, and where it stands
  uint64_t field_offset_ = 0;
};

// The six fields of a partition record under `prefix`, with their rules. Returns width and height.
struct PartSize {
  int32_t w = 0;
  int32_t h = 0;
};
PartSize ScanPart(Scanner& scanner, const std::string& prefix);

}  // namespace multilayer::tool

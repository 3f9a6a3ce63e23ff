// Settings in a TOML file. One list of fields drives the strict reader and the writer, which puts
// each field's explanation above it.
//
//   template <class Fields> void Visit(Fields& fields, Settings& s) {
//     fields.Section("camera", "How the camera measures.");
//     fields.Field("shots", s.shots, {1, 1000}, "Photographs to average.");
//   }
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tool/error.h"

namespace multilayer::tool {

// Both bounds belong to the range.
struct Range {
  double low = -std::numeric_limits<double>::infinity();
  double high = std::numeric_limits<double>::infinity();
};

// Every error names the file, the line, the key, the value and the rule (Exit::kBrokenFile).
class TomlReader {
 public:
  // `defaults`: a field that the file does not name keeps its value; otherwise it must be there.
  TomlReader(const std::filesystem::path& path, bool defaults);
  ~TomlReader();
  TomlReader(const TomlReader&) = delete;
  TomlReader& operator=(const TomlReader&) = delete;

  void Section(const std::string& name, const std::string& comment);
  void Field(const std::string& key, int32_t& value, Range range, const std::string& comment);
  void Field(const std::string& key, uint64_t& value, Range range, const std::string& comment);
  void Field(const std::string& key, double& value, Range range, const std::string& comment);
  void Field(const std::string& key, std::string& value, const std::string& comment);
  void Field(const std::string& key, std::vector<int32_t>& value, Range range,
             const std::string& comment);
  void Field(const std::string& key, std::vector<std::string>& value, const std::string& comment);
  void Field(const std::string& key, std::array<double, 2>& value, Range range,
             const std::string& comment);
  void Field(const std::string& key, std::array<double, 3>& value, Range range,
             const std::string& comment);
  // May be missing in any file. `example` is for the writer.
  void Field(const std::string& key, std::optional<std::array<double, 3>>& value,
             const std::array<double, 3>& example, Range range, const std::string& comment);

  // Throws for keys and tables that no field asked for. Call at the end.
  void Finish() const;

  // Throws for a rule that spans several fields: "FILE:LINE: KEY is VALUE: must RULE".
  [[noreturn]] void Fail(const std::string& key, const std::string& value,
                         const std::string& rule) const;

 private:
  struct Document;
  template <size_t kCount>
  void ReadArray(const std::string& key, std::array<double, kCount>& value, Range range);

  std::unique_ptr<Document> document_;
};

// The text of the file that TomlReader reads back to the same values.
class TomlWriter {
 public:
  explicit TomlWriter(const std::string& heading);

  void Section(const std::string& name, const std::string& comment);
  template <class Value>
  void Field(const std::string& key, const Value& value, Range range, const std::string& comment) {
    Line(key, ToText(value), comment + RangeText(range), true);
  }
  template <class Value>
  void Field(const std::string& key, const Value& value, const std::string& comment) {
    Line(key, ToText(value), comment, true);
  }
  // Not set: the example, commented out.
  void Field(const std::string& key, const std::optional<std::array<double, 3>>& value,
             const std::array<double, 3>& example, Range range, const std::string& comment);

  const std::string& text() const { return text_; }

 private:
  static std::string ToText(double value);
  static std::string ToText(int32_t value) { return std::to_string(value); }
  static std::string ToText(uint64_t value) { return std::to_string(value); }
  static std::string ToText(const std::string& value);
  template <class List>
  static std::string ToText(const List& list) {
    std::string text;
    for (const auto& value : list) {
      text += (text.empty() ? "" : ", ") + ToText(value);
    }
    return "[" + text + "]";
  }
  static std::string RangeText(Range range);
  void Comment(const std::string& comment);
  void Line(const std::string& key, const std::string& value, const std::string& comment, bool set);

  std::string text_;
};

}  // namespace multilayer::tool

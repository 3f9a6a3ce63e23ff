// Strict reading and commented writing of settings.
#include "tool/toml_fields.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iomanip>
#include <set>
#include <sstream>

#include <toml++/toml.h>

#include "tool/files.h"

namespace multilayer::tool {
namespace {

std::string Number(double value) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, value).ptr;
  return {text, end};
}

// The value as it stands in the file.
std::string Shown(const toml::node& node) {
  if (const toml::value<double>* number = node.as_floating_point(); number != nullptr) {
    return Number(number->get());
  }
  std::ostringstream text;
  if (const toml::array* list = node.as_array(); list != nullptr) {
    text << "[";
    for (const toml::node& element : *list) {
      text << (&element == &list->front() ? "" : ", ") << Shown(element);
    }
    text << "]";
  } else {
    node.visit([&text](const auto& value) { text << value; });
  }
  return text.str();
}

std::string Rule(Range range) {
  if (std::isinf(range.low)) {
    return std::isinf(range.high) ? "finite" : "at most " + Number(range.high);
  }
  return std::isinf(range.high) ? Number(range.low) + " or more"
                                : Number(range.low) + " to " + Number(range.high);
}

}  // namespace

struct TomlReader::Document {
  std::string path;
  bool defaults = false;
  toml::table root;
  std::string section;
  const toml::table* table = nullptr;  // of the section; null when the file does not have it
  std::set<std::string> known;         // "section" and "section.key"

  std::string Where(const toml::node* node) const {
    const toml::source_index line = node == nullptr ? 0 : node->source().begin.line;
    return line > 0 ? path + ":" + std::to_string(line) + ": " : path + ": ";
  }
  std::string Name(const std::string& key) const {
    return section.empty() ? key : section + "." + key;
  }
  [[noreturn]] void Fail(const toml::node* node, const std::string& name, const std::string& value,
                         const std::string& rule) const {
    throw Failure(Exit::kBrokenFile, Where(node) + name + " is " + value + ": must " + rule);
  }
  void CheckKnown(const toml::node& node, const std::string& name) const {
    if (!known.contains(name)) {
      throw Failure(Exit::kBrokenFile, Where(&node) + name + ": there is no such key");
    }
  }

  const toml::node* Find(const std::string& key) {
    known.insert(Name(key));
    const toml::node* node = table == nullptr ? nullptr : table->get(key);
    if (node == nullptr && !defaults) {
      Fail(table, Name(key), "missing", "be there");
    }
    return node;
  }

  double ReadDouble(const toml::node& node, const std::string& name, Range range) const {
    const std::optional<double> value = node.is_number() ? node.value<double>() : std::nullopt;
    if (!value || !std::isfinite(*value)) {
      Fail(&node, name, Shown(node), "be a finite number");
    }
    if (*value < range.low || *value > range.high) {
      Fail(&node, name, Shown(node), "be " + Rule(range));
    }
    return *value;
  }

  int64_t ReadInteger(const toml::node& node, const std::string& name, Range range) const {
    if (!node.is_integer()) {
      Fail(&node, name, Shown(node), "be a whole number");
    }
    const int64_t value = *node.value<int64_t>();
    if (static_cast<double>(value) < range.low || static_cast<double>(value) > range.high) {
      Fail(&node, name, Shown(node), "be " + Rule(range));
    }
    return value;
  }

  const std::string& ReadString(const toml::node& node, const std::string& name) const {
    if (!node.is_string()) {
      Fail(&node, name, Shown(node), "be a text in quotes");
    }
    return node.as_string()->get();
  }

  // Calls `each` with the nodes of a list and their names, "key[0]" and so on.
  template <class Each>
  void ReadList(const toml::node& node, const std::string& name, const Each& each) const {
    if (!node.is_array()) {
      Fail(&node, name, Shown(node), "be a list");
    }
    size_t i = 0;
    for (const toml::node& element : *node.as_array()) {
      each(element, name + "[" + std::to_string(i++) + "]");
    }
  }
};

TomlReader::TomlReader(const std::filesystem::path& path, bool defaults)
    : document_(std::make_unique<Document>()) {
  document_->path = path.string();
  document_->defaults = defaults;
  const std::string text = ReadText(path);
  try {
    document_->root = toml::parse(text, document_->path);
  } catch (const toml::parse_error& error) {
    throw Failure(Exit::kBrokenFile, document_->path + ":" +
                                         std::to_string(error.source().begin.line) + ": " +
                                         std::string(error.description()));
  }
  document_->table = &document_->root;
}

TomlReader::~TomlReader() = default;

void TomlReader::Section(const std::string& name, const std::string& /*comment*/) {
  document_->section = name;
  document_->known.insert(name);
  const toml::node* node = document_->root.get(name);
  if (node != nullptr && !node->is_table()) {
    document_->Fail(node, name, Shown(*node), "be a table, [" + name + "]");
  }
  document_->table = node == nullptr ? nullptr : node->as_table();
}

void TomlReader::Field(const std::string& key, int32_t& value, Range range, const std::string&) {
  if (const toml::node* node = document_->Find(key); node != nullptr) {
    constexpr Range kInt = {-2147483648.0, 2147483647.0};
    const Range both = {std::max(range.low, kInt.low), std::min(range.high, kInt.high)};
    value = static_cast<int32_t>(document_->ReadInteger(*node, document_->Name(key), both));
  }
}

void TomlReader::Field(const std::string& key, uint64_t& value, Range range, const std::string&) {
  if (const toml::node* node = document_->Find(key); node != nullptr) {
    range.low = std::max(range.low, 0.0);
    value = static_cast<uint64_t>(document_->ReadInteger(*node, document_->Name(key), range));
  }
}

void TomlReader::Field(const std::string& key, double& value, Range range, const std::string&) {
  if (const toml::node* node = document_->Find(key); node != nullptr) {
    value = document_->ReadDouble(*node, document_->Name(key), range);
  }
}

void TomlReader::Field(const std::string& key, std::string& value, const std::string&) {
  if (const toml::node* node = document_->Find(key); node != nullptr) {
    value = document_->ReadString(*node, document_->Name(key));
  }
}

void TomlReader::Field(const std::string& key, std::vector<int32_t>& value, Range range,
                       const std::string&) {
  const toml::node* node = document_->Find(key);
  if (node == nullptr) {
    return;
  }
  value.clear();
  document_->ReadList(*node, document_->Name(key), [&](const toml::node& n, const auto& name) {
    value.push_back(static_cast<int32_t>(document_->ReadInteger(n, name, range)));
  });
}

void TomlReader::Field(const std::string& key, std::vector<std::string>& value,
                       const std::string&) {
  const toml::node* node = document_->Find(key);
  if (node == nullptr) {
    return;
  }
  value.clear();
  document_->ReadList(*node, document_->Name(key), [&](const toml::node& n, const auto& name) {
    value.push_back(document_->ReadString(n, name));
  });
}

template <size_t kCount>
void TomlReader::ReadArray(const std::string& key, std::array<double, kCount>& value, Range range) {
  const toml::node* node = document_->Find(key);
  if (node == nullptr) {
    return;
  }
  const std::string name = document_->Name(key);
  if (!node->is_array() || node->as_array()->size() != value.size()) {
    document_->Fail(node, name, Shown(*node),
                    "be a list of " + std::to_string(kCount) + " numbers");
  }
  size_t i = 0;
  document_->ReadList(*node, name, [&](const toml::node& n, const auto& element) {
    value[i++] = document_->ReadDouble(n, element, range);
  });
}

void TomlReader::Field(const std::string& key, std::array<double, 2>& value, Range range,
                       const std::string&) {
  ReadArray(key, value, range);
}

void TomlReader::Field(const std::string& key, std::array<double, 3>& value, Range range,
                       const std::string&) {
  ReadArray(key, value, range);
}

void TomlReader::Field(const std::string& key, std::optional<std::array<double, 3>>& value,
                       const std::array<double, 3>& /*example*/, Range range,
                       const std::string& /*comment*/) {
  std::array<double, 3> read = {};
  if (document_->table != nullptr && document_->table->contains(key)) {
    ReadArray(key, read, range);
    value = read;
  }
  document_->known.insert(document_->Name(key));
}

void TomlReader::Finish() const {
  for (const auto& [section, node] : document_->root) {
    const std::string name(section.str());
    document_->CheckKnown(node, name);
    if (const toml::table* table = node.as_table(); table != nullptr) {
      for (const auto& [key, value] : *table) {
        document_->CheckKnown(value, name + "." + std::string(key.str()));
      }
    }
  }
}

void TomlReader::Fail(const std::string& key, const std::string& value,
                      const std::string& rule) const {
  document_->Fail(document_->root.at_path(key).node(), key, value, rule);
}

TomlWriter::TomlWriter(const std::string& heading) { Comment(heading); }

void TomlWriter::Section(const std::string& name, const std::string& comment) {
  text_ += "\n";
  Comment(comment);
  text_ += "[" + name + "]\n";
}

void TomlWriter::Field(const std::string& key, const std::optional<std::array<double, 3>>& value,
                       const std::array<double, 3>& example, Range range,
                       const std::string& comment) {
  Line(key, ToText(value.value_or(example)), comment + RangeText(range), value.has_value());
}

// A number with a fraction stays one when it is read back.
std::string TomlWriter::ToText(double value) {
  const std::string text = Number(value);
  return text.find_first_of(".en") == std::string::npos ? text + ".0" : text;
}

std::string TomlWriter::ToText(const std::string& value) {
  std::ostringstream text;
  text << std::quoted(value);
  return text.str();
}

std::string TomlWriter::RangeText(Range range) { return " (" + Rule(range) + ")"; }

void TomlWriter::Comment(const std::string& comment) {
  std::istringstream lines(comment);
  for (std::string line; std::getline(lines, line);) {
    text_ += line.empty() ? "#\n" : "# " + line + "\n";
  }
}

void TomlWriter::Line(const std::string& key, const std::string& value, const std::string& comment,
                      bool set) {
  Comment(comment);
  text_ += (set ? "" : "#") + key + " = " + value + "\n";
}

}  // namespace multilayer::tool

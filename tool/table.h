// Text tables: columns as wide as their widest cell.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace multilayer::tool {

class Table {
 public:
  // Columns of text, such as names, are aligned to the left: `left` of them, the first ones.
  Table(std::vector<std::string> heading, size_t left) : rows_{std::move(heading)}, left_(left) {}

  // As many cells as the heading.
  void Add(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }

  // All rows, each with a line end, a rule below the heading.
  std::string Text() const;

 private:
  std::vector<std::vector<std::string>> rows_;
  size_t left_;
};

// A number with a fixed count of decimals.
std::string Fixed(double value, int decimals);
// A fraction as percent, with its sign if `sign`.
std::string Percent(double fraction, int decimals, bool sign = false);

// "p00" of 4: shows how far the work is on standard error, if that is a terminal.
class Progress {
 public:
  Progress(std::string what, size_t steps);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  void Step();

 private:
  std::string what_;
  size_t steps_;
  size_t done_ = 0;
  bool shown_;
};

}  // namespace multilayer::tool

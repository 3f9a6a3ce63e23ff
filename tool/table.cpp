// Alignment, number formats, progress.
#include "tool/table.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace multilayer::tool {

std::string Table::Text() const {
  std::vector<size_t> widths(rows_.front().size());
  for (const auto& row : rows_) {
    for (size_t i = 0; i < widths.size(); ++i) {
      widths[i] = std::max(widths[i], row[i].size());
    }
  }
  std::string text;
  const auto add_row = [&](const std::vector<std::string>& row) {
    std::string line;
    for (size_t i = 0; i < widths.size(); ++i) {
      const std::string fill(widths[i] - row[i].size(), ' ');
      line += (i == 0 ? "" : "  ") + (i < left_ ? row[i] + fill : fill + row[i]);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + "\n";
  };
  add_row(rows_.front());
  std::vector<std::string> rule;
  rule.reserve(widths.size());
  for (const size_t width : widths) {
    rule.emplace_back(width, '-');
  }
  add_row(rule);
  std::for_each(rows_.begin() + 1, rows_.end(), add_row);
  return text;
}

std::string Fixed(double value, int decimals) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  return text;
}

std::string Percent(double fraction, int decimals, bool sign) {
  char text[64];
  std::snprintf(text, sizeof text, sign ? "%+.*f %%" : "%.*f %%", decimals, 100 * fraction);
  return text;
}

Progress::Progress(std::string what, size_t steps)
    : what_(std::move(what)), steps_(steps), shown_(isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
  if (shown_) {
    std::fputs("\r\x1b[K", stderr);
  }
}

void Progress::Step() {
  ++done_;
  if (shown_) {
    std::fprintf(stderr, "\r%s: %zu of %zu\x1b[K", what_.c_str(), done_, steps_);
  }
}

}  // namespace multilayer::tool

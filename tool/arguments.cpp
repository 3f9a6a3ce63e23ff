// Lists of numbers, and how an option is refused.
#include "tool/arguments.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>

#include "tool/error.h"

namespace multilayer::tool {

std::vector<double> Numbers(const std::string& option, const std::string& text, size_t count) {
  std::vector<double> numbers;
  const char* at = text.data();
  const char* const end = at + text.size();
  while (true) {
    double number = 0;
    const auto [next, error] = std::from_chars(at, end, number);
    if (error != std::errc() || !std::isfinite(number)) {
      break;
    }
    constexpr double kLargest = std::numeric_limits<float>::max();
    constexpr double kSmallest = std::numeric_limits<float>::min();
    if (std::abs(number) > kLargest || (number != 0 && std::abs(number) < kSmallest)) {
      RefuseOption(option, text, "stay in the range of 32-bit floats");
    }
    numbers.push_back(number);
    if (next == end && numbers.size() == count) {
      return numbers;
    }
    if (next == end || *next != ',') {
      break;
    }
    at = next + 1;
  }
  RefuseOption(option, text,
               "be " + std::to_string(count) + (count == 1 ? " number" : " numbers, with commas"));
}

void RefuseOption(const std::string& option, const std::string& value, const std::string& rule) {
  throw Failure(Exit::kWrongCall, option + " is " + value + ": must " + rule);
}

}  // namespace multilayer::tool

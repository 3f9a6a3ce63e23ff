// Arguments that are more than words: numbers, checked before any file is opened.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace multilayer::tool {

// "1,2.5,-3" with exactly `count` finite numbers. A list is one argument, so that it never takes
// the file name behind it for its next number. Throws kWrongCall with the option, value and rule.
std::vector<double> Numbers(const std::string& option, const std::string& text, size_t count);

// Throws kWrongCall.
[[noreturn]] void RefuseOption(const std::string& option, const std::string& value,
                               const std::string& rule);

}  // namespace multilayer::tool

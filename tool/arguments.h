// Arguments that several subcommands take: files of one format, and lists of numbers.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace multilayer::tool {

// A file name that must end with one of `extensions`.
CLI::Validator EndsWith(std::initializer_list<const char*> extensions);

// "1,2.5,-3" with exactly `count` finite numbers. A list is one argument, so that it never takes
// the file name behind it for its next number. Throws kWrongCall with the option, value and rule.
std::vector<double> Numbers(const std::string& option, const std::string& text, size_t count);

// Throws kWrongCall.
[[noreturn]] void RefuseOption(const std::string& option, const std::string& value,
                               const std::string& rule);

}  // namespace multilayer::tool

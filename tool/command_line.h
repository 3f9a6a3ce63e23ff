// Subcommands, their arguments and their help. Only one source knows the parser that stands behind
// them: to compile its templates in each subcommand took two fifths of the command's build.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "tool/error.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace multilayer::tool {

// One argument of a subcommand. Each function says one thing more about it.
class Argument {
 public:
  explicit Argument(CLI::Option* option) : option_(option) {}

  Argument Required() const;
  // What the help calls its value, as "FILE.meter".
  Argument Named(const std::string& value) const;
  // The help shows the value that the variable has by then.
  Argument ShowDefault() const;
  // Of a list: how many values it takes, both inclusive.
  Argument Count(int32_t least, int32_t most) const;
  // Of a list: commas separate values, as spaces do.
  Argument SplitAtCommas() const;

  // A file name that must end with one of `extensions`.
  Argument EndsWith(std::initializer_list<const char*> extensions) const;
  Argument OneOf(const std::vector<std::string>& values) const;
  // Both inclusive.
  Argument Within(int32_t least, int32_t most) const;
  Argument Within(uint64_t least, uint64_t most) const;
  Argument Within(double least, double most) const;
  // Makes no sense without `other`.
  Argument Needs(const Argument& other) const;

 private:
  CLI::Option* option_;
};

// A subcommand of a CommandLine, and valid as long.
class Subcommand {
 public:
  explicit Subcommand(CLI::App* app) : app_(app) {}

  // An option if `name` begins with "--", else a positional argument. Parsing writes to `value`,
  // which must live until then.
  Argument Add(const std::string& name, std::string& value, const std::string& help) const;
  Argument Add(const std::string& name, std::vector<std::string>& value,
               const std::string& help) const;
  Argument Add(const std::string& name, std::vector<int32_t>& value, const std::string& help) const;
  Argument Add(const std::string& name, int32_t& value, const std::string& help) const;
  Argument Add(const std::string& name, uint64_t& value, const std::string& help) const;
  Argument Add(const std::string& name, double& value, const std::string& help) const;
  Argument AddFlag(const std::string& name, bool& value, const std::string& help) const;
  // Stands below the arguments in the help.
  void Footer(const std::string& text) const;

 private:
  CLI::App* app_;
};

class CommandLine {
 public:
  // `version`: without the name, which --version prints before it. `footer`: the end of the help.
  CommandLine(const std::string& name, const std::string& version, const std::string& description,
              const std::string& footer);
  ~CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  // The heading in the help above the subcommands that are added next.
  void BeginGroup(const std::string& name);
  // `run` is called if the arguments name this subcommand, after all values are written. It may throw.
  Subcommand Add(const std::string& name, const std::string& help, std::function<void()> run);

  // Runs the subcommand that the arguments name. Help and version, if asked for, go to standard
  // output; help that nobody asked for, to standard error. Throws kWrongCall, and what runs throws.
  Exit Run(int argc, char** argv);

 private:
  struct Entry {
    CLI::App* app;
    std::function<void()> run;
  };

  std::unique_ptr<CLI::App> app_;
  std::string group_;
  std::vector<Entry> entries_;
};

}  // namespace multilayer::tool

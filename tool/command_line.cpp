// The one source that knows the parser.
#include "tool/command_line.h"

#include <cstdio>
#include <sstream>
#include <utility>

#include <CLI/CLI.hpp>

#include "multilayer/io/container.h"
#include "tool/files.h"

namespace multilayer::tool {

Argument Argument::Required() const {
  option_->required();
  return *this;
}

Argument Argument::Named(const std::string& value) const {
  option_->type_name(value);
  return *this;
}

Argument Argument::ShowDefault() const {
  option_->capture_default_str();
  return *this;
}

Argument Argument::Count(int32_t least, int32_t most) const {
  option_->expected(least, most);
  return *this;
}

Argument Argument::SplitAtCommas() const {
  option_->delimiter(',');
  return *this;
}

Argument Argument::EndsWith(std::initializer_list<const char*> extensions) const {
  const std::vector<std::string> allowed(extensions.begin(), extensions.end());
  const auto check = [allowed](const std::string& name) {
    std::string rule;
    for (const std::string& extension : allowed) {
      if (HasExtension(name, extension) == 0) {
        return std::string();
      }
      rule += (rule.empty() ? "" : " or ") + extension;
    }
    return name + " must end with " + rule;
  };
  option_->check(CLI::Validator(check, ""));
  return *this;
}

Argument Argument::OneOf(const std::vector<std::string>& values) const {
  option_->check(CLI::IsMember(values));
  return *this;
}

Argument Argument::Within(int32_t least, int32_t most) const {
  option_->check(CLI::Range(least, most));
  return *this;
}

Argument Argument::Within(uint64_t least, uint64_t most) const {
  option_->check(CLI::Range(least, most));
  return *this;
}

Argument Argument::Within(double least, double most) const {
  option_->check(CLI::Range(least, most));
  return *this;
}

Argument Argument::Needs(const Argument& other) const {
  option_->needs(other.option_);
  return *this;
}

Argument Subcommand::Add(const std::string& name, std::string& value,
                         const std::string& help) const {
  return Argument(app_->add_option(name, value, help));
}

Argument Subcommand::Add(const std::string& name, std::vector<std::string>& value,
                         const std::string& help) const {
  return Argument(app_->add_option(name, value, help));
}

Argument Subcommand::Add(const std::string& name, std::vector<int32_t>& value,
                         const std::string& help) const {
  return Argument(app_->add_option(name, value, help));
}

Argument Subcommand::Add(const std::string& name, int32_t& value, const std::string& help) const {
  return Argument(app_->add_option(name, value, help));
}

Argument Subcommand::Add(const std::string& name, uint64_t& value, const std::string& help) const {
  return Argument(app_->add_option(name, value, help));
}

Argument Subcommand::Add(const std::string& name, double& value, const std::string& help) const {
  return Argument(app_->add_option(name, value, help));
}

Argument Subcommand::AddFlag(const std::string& name, bool& value, const std::string& help) const {
  return Argument(app_->add_flag(name, value, help));
}

void Subcommand::Footer(const std::string& text) const { app_->footer(text); }

CommandLine::CommandLine(const std::string& name, const std::string& version,
                         const std::string& description, const std::string& footer)
    : app_(std::make_unique<CLI::App>(description, name)) {
  app_->set_version_flag("--version", name + " " + version);
  app_->footer(footer);
  app_->require_subcommand(0, 1);
}

CommandLine::~CommandLine() = default;

void CommandLine::BeginGroup(const std::string& name) { group_ = name; }

Subcommand CommandLine::Add(const std::string& name, const std::string& help,
                            std::function<void()> run) {
  CLI::App* const app = app_->add_subcommand(name, help)->group(group_);
  entries_.push_back({app, std::move(run)});
  return Subcommand(app);
}

Exit CommandLine::Run(int argc, char** argv) {
  try {
    app_->parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    // Help and version are thrown too, but are results.
    std::ostringstream out;
    std::ostringstream ignored;
    if (app_->exit(error, out, ignored) != 0) {
      throw Failure(Exit::kWrongCall, std::string(error.what()) + " (try --help)");
    }
    PrintOut(out.str());
    return Exit::kDone;
  }
  for (const auto& [app, run] : entries_) {
    if (app->parsed()) {
      run();
      return Exit::kDone;
    }
  }
  std::fputs(app_->help().c_str(), stderr);
  return Exit::kWrongCall;
}

}  // namespace multilayer::tool

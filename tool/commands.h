// The subcommands. Each adds its options to the application and returns what runs it.
#pragma once

#include <functional>

#include <CLI/CLI.hpp>

namespace multilayer::tool {

struct Subcommand {
  CLI::App* app;
  // Throws Failure.
  std::function<void()> run;
};

Subcommand AddSimulate(CLI::App& app);
Subcommand AddCalibrate(CLI::App& app);
Subcommand AddVerify(CLI::App& app);
Subcommand AddInfo(CLI::App& app);
Subcommand AddMean(CLI::App& app);
Subcommand AddRepair(CLI::App& app);
Subcommand AddAlign(CLI::App& app);
Subcommand AddPoints(CLI::App& app);
Subcommand AddComputeLum(CLI::App& app);
Subcommand AddGamut(CLI::App& app);
Subcommand AddComputeChroma(CLI::App& app);
Subcommand AddMerge(CLI::App& app);
Subcommand AddCombine(CLI::App& app);
Subcommand AddAssemble(CLI::App& app);

}  // namespace multilayer::tool

// The command `multilayer`: finds the subcommand, runs it, and turns every failure into one line on
// standard error and an exit code.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <opencv2/core.hpp>

#include "tool/commands.h"
#include "tool/error.h"
#include "tool/files.h"

namespace multilayer::tool {
namespace {

constexpr const char* kFooter =
    "Exit codes: 0 done, 1 the computation refused, 2 wrong call, 3 a file is broken, 4 a file\n"
    "cannot be read or written, 5 verify: out of tolerance. Results go to standard output,\n"
    "everything else to standard error.\n\n"
    "Example:\n"
    "  multilayer simulate demo && multilayer calibrate demo/wall.toml && "
    "multilayer verify demo/wall.toml";

int Report(Exit code, const std::string& message) {
  std::fprintf(stderr, "multilayer: error: %s\n", message.c_str());
  return static_cast<int>(code);
}

// Help and version are results; everything else that parsing throws is a wrong call.
int EndOfParsing(const CLI::App& app, const CLI::ParseError& error) {
  std::ostringstream out;
  std::ostringstream ignored;
  if (app.exit(error, out, ignored) == 0) {
    PrintOut(out.str());
    return 0;
  }
  return Report(Exit::kWrongCall, std::string(error.what()) + " (try --help)");
}

int Run(int argc, char** argv) {
  CLI::App app(
      "Calibration of LED display walls: one correction coefficient per LED, primary and "
      "gray layer.",
      "multilayer");
  app.set_version_flag("--version", "multilayer " MULTILAYER_VERSION);
  app.footer(kFooter);
  const std::pair<const char*, std::vector<Subcommand>> groups[] = {
      {"A wall", {AddSimulate(app), AddCalibrate(app), AddVerify(app)}},
      {"Any file", {AddInfo(app)}},
      {"Measurements", {AddMean(app), AddRepair(app), AddAlign(app), AddPoints(app)}},
      {"Single-layer sets",
       {AddComputeLum(app), AddGamut(app), AddComputeChroma(app), AddMerge(app), AddCombine(app),
        AddAssemble(app)}}};
  for (const auto& [name, subcommands] : groups) {
    for (const Subcommand& subcommand : subcommands) {
      subcommand.app->group(name);
    }
  }
  app.require_subcommand(0, 1);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return EndOfParsing(app, error);
  }
  for (const auto& [name, subcommands] : groups) {
    for (const Subcommand& subcommand : subcommands) {
      if (subcommand.app->parsed()) {
        subcommand.run();
        return 0;
      }
    }
  }
  std::fputs(app.help().c_str(), stderr);
  return static_cast<int>(Exit::kWrongCall);
}

}  // namespace
}  // namespace multilayer::tool

int main(int argc, char** argv) {
  // The command says in its own words what failed; the library's log is for those who ask for it.
  if (std::getenv("PELLIX_FILE") == nullptr) {
    setenv("PELLIX_LEVEL", "off", /*overwrite=*/0);
  }
  using multilayer::tool::Exit;
  using multilayer::tool::Report;
  multilayer::tool::InstallSignalHandlers();
  try {
    return multilayer::tool::Run(argc, argv);
  } catch (const multilayer::tool::Failure& failure) {
    return Report(failure.code(), failure.what());
  } catch (const std::filesystem::filesystem_error& error) {
    return Report(Exit::kFileAccess, error.path1().string() + ": " + error.code().message());
  } catch (const std::bad_alloc&) {
    return Report(Exit::kRefused, "not enough memory");
  } catch (const cv::Exception& error) {
    return Report(Exit::kRefused,
                  error.code == cv::Error::StsNoMem ? "not enough memory" : error.err);
  } catch (const std::exception& error) {
    return Report(Exit::kRefused, error.what());
  }
}

// The command `multilayer`: finds the subcommand, runs it, and turns every failure into one line on
// standard error and an exit code.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <string>

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

Exit Run(int argc, char** argv) {
  CommandLine line("multilayer", MULTILAYER_VERSION,
                   "Calibration of LED display walls: one correction coefficient per LED, primary "
                   "and gray layer.",
                   kFooter);
  line.BeginGroup("A wall");
  AddSimulate(line);
  AddCalibrate(line);
  AddVerify(line);
  line.BeginGroup("Any file");
  AddInfo(line);
  line.BeginGroup("Measurements");
  AddMean(line);
  AddRepair(line);
  AddAlign(line);
  AddPoints(line);
  line.BeginGroup("Single-layer sets");
  AddComputeLum(line);
  AddGamut(line);
  AddComputeChroma(line);
  AddMerge(line);
  AddCombine(line);
  AddAssemble(line);
  return line.Run(argc, argv);
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
    return static_cast<int>(multilayer::tool::Run(argc, argv));
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

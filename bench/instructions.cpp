// The instruction counts of the main computations on a small wall, for script/instructions, which
// runs this under callgrind. One dump a computation, whose trigger is its name, with "/" and the
// instruction set where it has kernels. With the argument --toolchain, only tells what the counts
// depend on beside the sources.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include <gnu/libc-version.h>
#include <valgrind/callgrind.h>

#include "bench/computation.h"
#include "bench/instruction_sets.h"

namespace multilayer::bench {
namespace {

const std::vector<std::string> kMain = {"norm",
                                        "iteration step",
                                        "white step, one matrix",
                                        "white step, measured primaries",
                                        "single-gray step",
                                        "chroma fit",
                                        "luminance set",
                                        "merge, chroma",
                                        "combine, chroma, rows",
                                        "combine, chroma, columns",
                                        "assemble, chroma",
                                        "write .mlcoefs, buffer",
                                        "read .mlcoefs, buffer",
                                        "write .meter, buffer",
                                        "read .meter, buffer",
                                        "add shots",
                                        "dead-point repair",
                                        "align"};

// Wider than a tile of LEDs, and no multiple of a vector's width.
const cv::Size kSize(125, 64);

// valgrind does not know AVX-512.
std::vector<std::string> CountableSets() {
  std::vector<std::string> sets = AvailableSets();
  sets.erase(std::remove(sets.begin(), sets.end(), "avx512"), sets.end());
  return sets;
}

// The second run: the first one makes what later ones find.
void Count(Computation& computation, const std::string& name) {
  computation.Start();
  computation.Shipped();
  computation.Start();
  CALLGRIND_START_INSTRUMENTATION;
  CALLGRIND_ZERO_STATS;
  computation.Shipped();
  CALLGRIND_DUMP_STATS_AT(name.c_str());
  CALLGRIND_STOP_INSTRUMENTATION;
}

void CountAll() {
  for (const Case& which : Cases()) {
    if (std::find(kMain.begin(), kMain.end(), which.name) == kMain.end()) {
      continue;
    }
    const std::unique_ptr<Computation> computation = which.make(kSize);
    for (const std::string& set : which.has_kernels ? CountableSets() : NoSet()) {
      const ForcedSet forced(set);
      Count(*computation, set.empty() ? which.name : which.name + ("/" + set));
    }
  }
}

}  // namespace
}  // namespace multilayer::bench

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "--toolchain") == 0) {
    std::printf("compiler %s, glibc %s, OpenCV %s\n", __VERSION__, gnu_get_libc_version(),
                CV_VERSION);
    return 0;
  }
  cv::setNumThreads(1);
  multilayer::bench::CountAll();
  return 0;
}

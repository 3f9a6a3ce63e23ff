// One run in a child process, which first gives back the free pages that the benchmarks keep (main),
// and sets back its peak of resident memory.
#include "bench/footprint.h"

#include <cstdio>
#include <fstream>
#include <malloc.h>
#include <string>
#include <unistd.h>

#include <sys/wait.h>

namespace multilayer::bench {
namespace {

// Bytes of a line of /proc/self/status, which is in KiB; 0 if there is none.
uint64_t StatusOf(const std::string& name) {
  std::ifstream status("/proc/self/status");
  std::string word;
  uint64_t value = 0;
  while (status >> word) {
    if (word == name + ":" && status >> value) {
      return value << 10;
    }
  }
  return 0;
}

bool SetPeakBack() {
  std::ofstream file("/proc/self/clear_refs");
  file << "5" << std::flush;
  return file.good();
}

// The peak of one run over what was resident before it.
std::optional<uint64_t> RiseOf(Computation& computation) {
  computation.Start();
  malloc_trim(0);
  if (!SetPeakBack()) {
    return std::nullopt;
  }
  const uint64_t before = StatusOf("VmRSS");
  computation.Shipped();
  const uint64_t peak = StatusOf("VmHWM");
  return before == 0 || peak == 0 ? std::nullopt : std::optional(peak - std::min(peak, before));
}

}  // namespace

std::optional<Footprint> FootprintOf(Computation& computation) {
  int ends[2];
  if (pipe(ends) != 0) {
    return std::nullopt;
  }
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    const std::optional<uint64_t> rise = RiseOf(computation);
    const bool told = rise && write(ends[1], &*rise, sizeof *rise) == sizeof *rise;
    _exit(told ? 0 : 1);
  }
  close(ends[1]);
  Footprint footprint;
  const bool told =
      read(ends[0], &footprint.beyond, sizeof footprint.beyond) == sizeof footprint.beyond;
  close(ends[0]);
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child || !told) {
    return std::nullopt;
  }
  const Touched memory = computation.Memory();
  footprint.inputs = BytesOf(memory.read) + BytesOf(memory.updated);
  footprint.held = footprint.inputs + BytesOf(memory.written);
  return footprint;
}

}  // namespace multilayer::bench

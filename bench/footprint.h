// How much memory a run takes beyond what was there before it, as the system counts it.
#pragma once

#include <optional>

#include "bench/measure.h"

namespace multilayer::bench {

// None where the system does not tell: it takes Linux's /proc/self/clear_refs.
std::optional<Footprint> FootprintOf(Computation& computation);

}  // namespace multilayer::bench

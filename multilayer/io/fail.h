// One line for a check that fails: log the reason and return the status.
#pragma once

#include <cstdint>

namespace multilayer {

#if defined(__GNUC__)
#define MULTILAYER_PRINTF(format_index, first_argument) \
  __attribute__((format(printf, format_index, first_argument)))
#else
#define MULTILAYER_PRINTF(format_index, first_argument)
#endif

// Logs one PellixError line, formatted as printf does, and returns `status`.
int32_t Fail(int32_t status, const char* format, ...) MULTILAYER_PRINTF(2, 3);

#undef MULTILAYER_PRINTF

}  // namespace multilayer

// Log-and-return.
#include "multilayer/io/fail.h"

#include <cstdarg>
#include <cstdio>

#include "pellix/pellix.h"

namespace multilayer {

int32_t Fail(int32_t status, const char* format, ...) {
  // Longer than any message with the longest file name that Linux opens (PATH_MAX is 4096). On the
  // stack: a failure must be reportable when memory has run out.
  char text[4096 + 256];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  PellixError("%s", text);
  return status;
}

}  // namespace multilayer

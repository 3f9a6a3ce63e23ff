// The default logging, on spdlog.
#include "pellix/pellix.h"

#include <cstdarg>
#include <cstdio>

extern "C" int PellixError(const char* format, ...) {
  va_list a;
  va_start(a, format);
  const int n = vfprintf(stderr, format, a);
  va_end(a);
  fputc('\n', stderr);
  return n;
}
extern "C" int PellixDebug(const char*, ...) { return 0; }
extern "C" int PellixInfo(const char*, ...) { return 0; }

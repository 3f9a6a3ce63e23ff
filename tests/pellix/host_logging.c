/* A host that logs in its own way: the library's messages must reach its functions. */
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include "multilayer/api/multilayer.h"
#include "pellix/pellix.h"

static int errors = 0;
static char last_error[256];

int PellixError(const char* format, ...) {
  va_list arguments;
  int length;
  va_start(arguments, format);
  length = vsnprintf(last_error, sizeof last_error, format, arguments);
  va_end(arguments);
  ++errors;
  return length;
}

int PellixInfo(const char* format, ...) {
  (void)format;
  return 0;
}

int PellixDebug(const char* format, ...) {
  (void)format;
  return 0;
}

int main(void) {
  const char* expected = "MultiLayerCoeff::Compute--Error ::  Please SetParam before comput.";
  MultiLayerHandle handle = NULL;
  MultiLayerLedMeter* none[1] = {NULL};
  int32_t status;
  if (MultiLayerCreateHandle(&handle) != MULTILAYER_OK) {
    return 1;
  }
  status = MultiLayerComputeLum(handle, none, none, none, 1);
  if (status != MULTILAYER_NO_PARAMETERS || errors != 1 || strcmp(last_error, expected) != 0) {
    fprintf(stderr, "status %d, %d errors, the last: %s\n", (int)status, errors, last_error);
    return 1;
  }
  return 0;
}

/* Where the coefficient layers lie: what a display controller must know before it is sent
 * coefficients. Without arguments, for the parameters below; with the name of a ".mlcoefs" file,
 * for the coefficients that it holds. */
#include <stdio.h>

#include "multilayer/api/multilayer.h"

enum { LEVELS = 256, CAPTURES = 4, LAYERS = 8 };

/* A gamma of 2 with 16 bits, the same for the three colours. */
static int32_t SetParameters(MultiLayerHandle handle) {
  static const int captures[CAPTURES] = {32, 64, 128, 255}; /* the gray levels photographed */
  const double decrease[3] = {0.2, 0.2, 0.2};               /* aim at 80 % of full luminance */
  const float full_luminance[9] = {250, 0, 0, 700, 0, 0, 90, 0, 0}; /* cd/m2 of R, G, B */
  int32_t gamma[3][LEVELS];
  MultiLayerMat table = {3, LEVELS, 4, sizeof gamma, NULL};
  int colour, level;

  for (colour = 0; colour < 3; ++colour) {
    for (level = 0; level < LEVELS; ++level) {
      gamma[colour][level] = 65535 * level / 255 * level / 255;
    }
  }
  table.data = gamma;
  return MultiLayerSetParamLum(handle, &table, decrease, full_luminance, captures, CAPTURES,
                               -1 /* all layers at once */, LAYERS, 16 /* bits */);
}

/* The result is borrowed from the engine (copy = 0): nothing to free. The coefficient arrays stay
 * null, as only the positions are of interest here. */
static int32_t PrintPositions(MultiLayerHandle handle) {
  MultiLayerResult result = {0};
  const int32_t* position;
  int32_t layer;
  const int32_t status = MultiLayerGet(handle, &result, 0);

  if (status != MULTILAYER_OK) {
    return status;
  }
  position = result.pos_hardware.data;
  if (position == NULL) {
    return MULTILAYER_NOTHING;
  }
  printf("%d layers, positions of %d bits:", (int)result.coef_layer_num, (int)result.bit_width);
  for (layer = 0; layer < result.coef_layer_num; ++layer) {
    printf(" %d", (int)position[layer]);
  }
  printf("\n");
  return MULTILAYER_OK;
}

int main(int count, char** arguments) {
  MultiLayerHandle handle = NULL;
  int32_t status = MultiLayerCreateHandle(&handle);

  if (status == MULTILAYER_OK) {
    status = count > 1 ? MultiLayerLoad(handle, arguments[1]) : SetParameters(handle);
  }
  if (status == MULTILAYER_OK) {
    status = PrintPositions(handle);
  }
  if (status != MULTILAYER_OK) {
    /* The reason went to the log: standard error, unless the host logs in its own way. */
    fprintf(stderr, "positions: failed with status %d\n", (int)status);
  }
  MultiLayerRelease(handle);
  MultiLayerDestroyHandle(handle);
  return status == MULTILAYER_OK ? 0 : 1;
}

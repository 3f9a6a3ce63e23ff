// The sixteen exported functions: check the pointers, convert, call one engine operation.
#include "multilayer/api/multilayer.h"

#include <array>
#include <cstddef>
#include <new>
#include <string>
#include <vector>

#include <opencv2/core.hpp>

#include "multilayer/api/mat_conversion.h"
#include "multilayer/io/fail.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"

using multilayer::ChromaXYZ;
using multilayer::LedMeter;
using multilayer::MultiLayerCoeff;

static_assert(sizeof(MultiLayerMat) == 24 && offsetof(MultiLayerMat, data) == 16);
static_assert(sizeof(MultiLayerResult) == 112 &&
              offsetof(MultiLayerResult, rgb_lum_dec_ratio) == 32 &&
              offsetof(MultiLayerResult, pos_hardware) == 56 &&
              offsetof(MultiLayerResult, coef_r) == 80 &&
              offsetof(MultiLayerResult, coef_layer_num) == 104);

namespace {

// Runs the `work` of the function `name` on the engine behind `handle`. The library's only catch:
// nothing thrown inside (memory that ran out, the matrix library) reaches the host.
template <class Work>
int32_t WithEngine(const char* name, MultiLayerHandle handle, const Work& work) {
  if (handle == nullptr) {
    return MULTILAYER_NULL;
  }
  try {
    return work(*static_cast<MultiLayerCoeff*>(handle));
  } catch (const std::exception& error) {
    return multilayer::Fail(MULTILAYER_REJECTED, "%s--Error :: %s", name, error.what());
  } catch (...) {
    return multilayer::Fail(MULTILAYER_REJECTED, "%s--Error :: unknown exception.", name);
  }
}

// `count` entries at `first`; none when the count is below 1.
template <class Entry>
std::vector<Entry> Copy(const Entry* first, int count) {
  return count < 1 ? std::vector<Entry>() : std::vector<Entry>(first, first + count);
}

// CIE X, Y and Z, in that order.
int32_t Combine(LedMeter* const* meters, ChromaXYZ& bundle) {
  return bundle.Combine(meters[0], meters[1], meters[2]);
}

}  // namespace

int32_t MultiLayerCreateHandle(MultiLayerHandle* out) {
  if (out == nullptr) {
    return MULTILAYER_NULL;
  }
  *out = nullptr;
  auto* engine = new (std::nothrow) MultiLayerCoeff;
  if (engine != nullptr) {
    engine->keep_response_segments = false;
  }
  *out = engine;
  return MULTILAYER_OK;
}

void MultiLayerDestroyHandle(MultiLayerHandle /*handle*/) {}

int32_t MultiLayerSetParamLum(MultiLayerHandle handle, const MultiLayerMat* gamma_table,
                              const double* rgb_lum_dec_ratio, const float* rgb_to_y,
                              const int* capture_layers, int capture_layer_count, int iterate,
                              int coef_layer_num, int bit_width) {
  return WithEngine(__func__, handle, [&](MultiLayerCoeff& engine) -> int32_t {
    cv::Mat gamma;
    if (const int32_t status = multilayer::FromDescriptor(gamma_table, gamma); status != 0) {
      return status;
    }
    if (rgb_lum_dec_ratio == nullptr || rgb_to_y == nullptr ||
        (capture_layers == nullptr && capture_layer_count > 0)) {
      return MULTILAYER_NULL;
    }
    return engine.SetParamLum(gamma, Copy(rgb_lum_dec_ratio, 3), rgb_to_y,
                              Copy(capture_layers, capture_layer_count), iterate, coef_layer_num,
                              bit_width);
  });
}

int32_t MultiLayerSetParamWhite(MultiLayerHandle handle, const MultiLayerMat* gamma_table,
                                const float* rgb_to_xyz, const void* target_white,
                                const int* capture_layers, int capture_layer_count,
                                int coef_layer_num, int iterate, int bit_width) {
  return WithEngine(__func__, handle, [&](MultiLayerCoeff& engine) -> int32_t {
    if (capture_layers == nullptr) {
      return MULTILAYER_NULL;
    }
    cv::Mat gamma;
    if (const int32_t status = multilayer::FromDescriptor(gamma_table, gamma); status != 0) {
      return status;
    }
    return engine.SetParamWhite(gamma, rgb_to_xyz, static_cast<const float*>(target_white),
                                Copy(capture_layers, capture_layer_count), coef_layer_num, iterate,
                                bit_width);
  });
}

int32_t MultiLayerSetRGBXYZ(MultiLayerHandle handle, LedMeter** red, LedMeter** green,
                            LedMeter** blue, int count) {
  return WithEngine(__func__, handle, [&](MultiLayerCoeff& engine) -> int32_t {
    if (red == nullptr || green == nullptr || blue == nullptr || count != 3) {
      return MULTILAYER_NULL;
    }
    std::array<ChromaXYZ, 3> primaries;
    LedMeter** const meters[] = {red, green, blue};
    for (size_t i = 0; i < 3; ++i) {
      if (const int32_t status = Combine(meters[i], primaries[i]); status != 0) {
        return status;
      }
    }
    return engine.SetRGBXYZ(primaries[0], primaries[1], primaries[2]);
  });
}

int32_t MultiLayerComputeLum(MultiLayerHandle handle, LedMeter** red, LedMeter** green,
                             LedMeter** blue, int count) {
  return WithEngine(__func__, handle, [&](MultiLayerCoeff& engine) -> int32_t {
    if (red == nullptr || green == nullptr || blue == nullptr) {
      return MULTILAYER_NULL;
    }
    const std::vector<LedMeter*> r = Copy(red, count);
    const std::vector<LedMeter*> g = Copy(green, count);
    const std::vector<LedMeter*> b = Copy(blue, count);
    return engine.Compute(&r, &g, &b);
  });
}

int32_t MultiLayerComputeWhite(MultiLayerHandle handle, LedMeter** meters, int count) {
  return WithEngine(__func__, handle, [&](MultiLayerCoeff& engine) -> int32_t {
    if (meters == nullptr || count != 3) {
      return MULTILAYER_NULL;
    }
    ChromaXYZ white;
    if (const int32_t status = Combine(meters, white); status != 0) {
      return status;
    }
    if (meters[0]->part == nullptr) {
      return LedMeter::Check(multilayer::CHECK_PART, meters[0]);
    }
    return engine.ComputeWhite(white, *meters[0]->part);
  });
}

int32_t MultiLayerComputeWhiteSingle(MultiLayerHandle handle, LedMeter** meters, int count,
                                     int layer) {
  return WithEngine(__func__, handle, [&](MultiLayerCoeff& engine) -> int32_t {
    if (meters == nullptr || count != 3) {
      return MULTILAYER_NULL;
    }
    ChromaXYZ white;
    const int32_t status = Combine(meters, white);
    return status != 0 ? status : engine.ComputeWhiteSingle(white, layer);
  });
}

int32_t MultiLayerGet(MultiLayerHandle handle, MultiLayerResult* out, int copy) {
  return WithEngine(__func__, handle, [&](const MultiLayerCoeff& engine) -> int32_t {
    if (out == nullptr) {
      return MULTILAYER_NULL;
    }
    multilayer::FillResult(engine, copy >= 1, *out);
    return MULTILAYER_OK;
  });
}

int32_t MultiLayerRelease(MultiLayerHandle handle) {
  return WithEngine(__func__, handle, [](MultiLayerCoeff& engine) -> int32_t {
    engine.Reset();
    return MULTILAYER_OK;
  });
}

int32_t MultiLayerExportToImge(MultiLayerHandle handle, const char* directory) {
  return WithEngine(__func__, handle, [&](const MultiLayerCoeff& engine) -> int32_t {
    if (directory == nullptr) {
      return MULTILAYER_NULL;
    }
    if (engine.coef_r.empty() || engine.coef_g.empty() || engine.coef_b.empty()) {
      return MULTILAYER_NOTHING;
    }
    return engine.ExportCoef2Img(directory);
  });
}

int32_t MultiLayerSave(MultiLayerHandle handle, const char* path) {
  return WithEngine(__func__, handle, [&](const MultiLayerCoeff& engine) -> int32_t {
    return path == nullptr ? MULTILAYER_NULL : engine.Save(path);
  });
}

int32_t MultiLayerLoad(MultiLayerHandle handle, const char* path) {
  return WithEngine(__func__, handle, [&](MultiLayerCoeff& engine) -> int32_t {
    return path == nullptr ? MULTILAYER_NULL : engine.Load(path);
  });
}

int32_t MultiLayerToBuffer(MultiLayerHandle handle, uint8_t* buffer, uint64_t* size) {
  return WithEngine(__func__, handle, [&](const MultiLayerCoeff& engine) -> int32_t {
    return engine.ToBuffer(buffer, size);
  });
}

int32_t MultiLayerFromBuffer(MultiLayerHandle handle, const uint8_t* buffer, uint64_t size) {
  return WithEngine(__func__, handle, [&](MultiLayerCoeff& engine) -> int32_t {
    return engine.FromBuffer(buffer, size);
  });
}

int32_t MultiLayerGetBufferSize(MultiLayerHandle handle, uint64_t* size) {
  return WithEngine(__func__, handle, [&](const MultiLayerCoeff& engine) -> int32_t {
    return engine.GetBufferSize(size);
  });
}

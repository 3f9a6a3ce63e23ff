// Coefficient files and buffers.
#include "multilayer/io/persistence.h"

#include <algorithm>
#include <utility>

#include "multilayer/io/fail.h"
#include "multilayer/io/transfer.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "pellix/pellix.h"

namespace multilayer {
namespace {

// A file without the mark is passed over in silence; a buffer without it is refused.
constexpr FileFormat kFormat = {"MultiLayerCoeff", ".mlcoefs", /*load_reports_bad_mark=*/false};

// What a file holds, but for writing the matrices, which stay with the engine.
struct Stored {
  PartRecord part_x_y_w_h;
  int32_t capture_layer_num = 0;
  int32_t coef_layer_num = 0;
  int32_t bit_width = 0;
  std::array<double, 3> rgb_lum_dec_ratio = {};
  cv::Mat pos_hardware;
  std::array<std::vector<cv::Mat>, 3> coefs;
};

// The body in file order. The layers follow, interleaved by colour.
auto Head(Stored& stored) {
  return std::tie(stored.part_x_y_w_h, stored.capture_layer_num, stored.coef_layer_num,
                  stored.bit_width, stored.rgb_lum_dec_ratio, stored.pos_hardware);
}

void WriteBodyOf(const MultiLayerCoeff& engine, ByteWriter& writer) {
  Stored stored = {engine.part_x_y_w_h,
                   engine.capture_layer_num,
                   engine.coef_layer_num,
                   engine.bit_width,
                   {},
                   engine.pos_hardware,
                   {}};
  std::copy_n(engine.rgb_lum_dec_ratio.begin(),
              std::min<size_t>(3, engine.rgb_lum_dec_ratio.size()),
              stored.rgb_lum_dec_ratio.begin());
  TransferFields(writer, Head(stored));
  const cv::Mat missing;
  for (int32_t layer = 0; layer < engine.coef_layer_num; ++layer) {
    const auto i = static_cast<size_t>(layer);
    for (const std::vector<cv::Mat>* list : {&engine.coef_r, &engine.coef_g, &engine.coef_b}) {
      WriteMat(writer, i < list->size() ? (*list)[i] : missing);
    }
  }
}

const char* ReadBodyOf(MultiLayerCoeff& engine, ByteReader& reader) {
  Stored stored;
  TransferFields(reader, Head(stored));
  // An engine without layers stores -1.
  const auto layers = static_cast<uint64_t>(std::max(0, stored.coef_layer_num));
  if (layers > MultiLayerCoeff::kMaxCoefLayers) {
    reader.Refuse();
  }
  if (reader.refused() || !reader.Claim(3 * layers * sizeof(cv::Mat))) {
    return nullptr;
  }
  for (std::vector<cv::Mat>& list : stored.coefs) {
    list.resize(layers);
  }
  for (uint64_t i = 0; i < layers && !reader.refused(); ++i) {
    for (std::vector<cv::Mat>& list : stored.coefs) {
      ReadMat(reader, list[i]);
    }
  }
  if (reader.refused()) {
    return nullptr;
  }
  engine.part_x_y_w_h = stored.part_x_y_w_h;
  engine.capture_layer_num = stored.capture_layer_num;
  engine.coef_layer_num = stored.coef_layer_num;
  engine.bit_width = stored.bit_width;
  engine.rgb_lum_dec_ratio.assign(stored.rgb_lum_dec_ratio.begin(), stored.rgb_lum_dec_ratio.end());
  engine.pos_hardware = std::move(stored.pos_hardware);
  engine.coef_r = std::move(stored.coefs[0]);
  engine.coef_g = std::move(stored.coefs[1]);
  engine.coef_b = std::move(stored.coefs[2]);
  return nullptr;
}

auto Writing(const MultiLayerCoeff& engine) {
  return [&engine](ByteWriter& writer) { WriteBodyOf(engine, writer); };
}

auto Reading(MultiLayerCoeff& engine) {
  return [&engine](ByteReader& reader) { return ReadBodyOf(engine, reader); };
}

}  // namespace

int32_t MultiLayerCoeff::Save(const std::string& fullname) const {
  if (coef_r.empty()) {
    PellixInfo("MultiLayerCoeff::Save");
    return Fail(5, "MultiLayerCoeff::Save--Error :: coeff is empty.");
  }
  return SaveFile(kFormat, fullname, Writing(*this));
}

int32_t MultiLayerCoeff::Load(const std::string& fullname) {
  return LoadFile(kFormat, fullname, Reading(*this));
}

int32_t MultiLayerCoeff::ToBuffer(uint8_t* buffer, uint64_t* size) const {
  return WriteBuffer(kFormat, buffer, size, Writing(*this));
}

int32_t MultiLayerCoeff::FromBuffer(const uint8_t* buffer, uint64_t size) {
  return ReadBuffer(kFormat, buffer, size, Reading(*this));
}

int32_t MultiLayerCoeff::GetBufferSize(uint64_t* size) const {
  const bool empty = coef_r.empty() || coef_g.empty() || coef_b.empty();
  return MeasureBuffer(kFormat, size, empty, Writing(*this));
}

}  // namespace multilayer

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

// The body in file order: the one list that writing and reading go through. The layers follow,
// interleaved by colour.
template <class Stream, class Fields>
void TransferHead(Stream& stream, Fields& fields) {
  Transfer(stream, fields.part_x_y_w_h);
  Transfer(stream, fields.capture_layer_num);
  Transfer(stream, fields.coef_layer_num);
  Transfer(stream, fields.bit_width);
  for (size_t i = 0; i < 3; ++i) {
    Transfer(stream, fields.rgb_lum_dec_ratio[i]);
  }
  Transfer(stream, fields.pos_hardware);
}

}  // namespace

void MultiLayerCoeff::WriteStream(ByteWriter& writer) const {
  Stored stored = {
      part_x_y_w_h, capture_layer_num, coef_layer_num, bit_width, {}, pos_hardware, {}};
  std::copy_n(rgb_lum_dec_ratio.begin(), std::min<size_t>(3, rgb_lum_dec_ratio.size()),
              stored.rgb_lum_dec_ratio.begin());
  TransferHead(writer, std::as_const(stored));
  const cv::Mat missing;
  for (int32_t layer = 0; layer < coef_layer_num; ++layer) {
    const auto i = static_cast<size_t>(layer);
    for (const std::vector<cv::Mat>* list : {&coef_r, &coef_g, &coef_b}) {
      WriteMat(writer, i < list->size() ? (*list)[i] : missing);
    }
  }
}

const char* MultiLayerCoeff::ReadStream(ByteReader& reader) {
  Stored stored;
  TransferHead(reader, stored);
  // An engine without layers stores -1.
  const auto layers = static_cast<uint64_t>(std::max(0, stored.coef_layer_num));
  if (layers > kMaxCoefLayers) {
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
  part_x_y_w_h = stored.part_x_y_w_h;
  capture_layer_num = stored.capture_layer_num;
  coef_layer_num = stored.coef_layer_num;
  bit_width = stored.bit_width;
  rgb_lum_dec_ratio.assign(stored.rgb_lum_dec_ratio.begin(), stored.rgb_lum_dec_ratio.end());
  pos_hardware = std::move(stored.pos_hardware);
  coef_r = std::move(stored.coefs[0]);
  coef_g = std::move(stored.coefs[1]);
  coef_b = std::move(stored.coefs[2]);
  return nullptr;
}

int32_t MultiLayerCoeff::Save(const std::string& fullname) const {
  PellixInfo("MultiLayerCoeff::Save");
  if (coef_r.empty()) {
    return Fail(5, "MultiLayerCoeff::Save--Error :: coeff is empty.");
  }
  return SaveFile(kFormat, fullname, [this](ByteWriter& writer) { WriteStream(writer); });
}

int32_t MultiLayerCoeff::Load(const std::string& fullname) {
  PellixInfo("MultiLayerCoeff::Load");
  return LoadFile(kFormat, fullname, [this](ByteReader& reader) { return ReadStream(reader); });
}

int32_t MultiLayerCoeff::ToBuffer(uint8_t* buffer, uint64_t* size) const {
  PellixInfo("MultiLayerCoeff::ToBuffer");
  return WriteBuffer(buffer, size, [this](ByteWriter& writer) { WriteStream(writer); });
}

int32_t MultiLayerCoeff::FromBuffer(const uint8_t* buffer, uint64_t size) {
  PellixInfo("MultiLayerCoeff::FromBuffer");
  return ReadBuffer(kFormat, buffer, size,
                    [this](ByteReader& reader) { return ReadStream(reader); });
}

int32_t MultiLayerCoeff::GetBufferSize(uint64_t* size) const {
  PellixInfo("MultiLayerCoeff::GetBufferSize");
  if (size == nullptr) {
    return 1;
  }
  if (coef_r.empty() || coef_g.empty() || coef_b.empty()) {
    return 5;
  }
  *size = CountBytes([this](ByteWriter& writer) { WriteStream(writer); });
  return 0;
}

}  // namespace multilayer

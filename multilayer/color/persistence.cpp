// White coefficient files and buffers: the partition comes last.
#include "multilayer/io/persistence.h"

#include "multilayer/color/white_coeff.h"
#include "multilayer/io/transfer.h"

namespace multilayer {
namespace {

constexpr FileFormat kFormat = {"WhiteCoeff", ".whitecoeff"};

// The body in file order.
template <class Coeff>
auto Fields(Coeff& coeff) {
  return std::tie(coeff.singular_count, coeff.coef_r, coeff.coef_g, coeff.coef_b, coeff.part);
}

}  // namespace

int32_t WhiteCoeff::Save(const std::string& fullname) const {
  return SaveFile(kFormat, fullname, WriteFields(Fields(*this)));
}

int32_t WhiteCoeff::Load(const std::string& fullname) {
  return LoadFile(kFormat, fullname, ReadFields(Fields(*this)));
}

int32_t WhiteCoeff::ToBuffer(uint8_t* buffer, uint64_t* size) const {
  return WriteBuffer(kFormat, buffer, size, WriteFields(Fields(*this)));
}

int32_t WhiteCoeff::FromBuffer(const uint8_t* buffer, uint64_t size) {
  return ReadBuffer(kFormat, buffer, size, ReadFields(Fields(*this)));
}

int32_t WhiteCoeff::GetBufferSize(uint64_t* size) const {
  const bool empty = coef_r.empty() || coef_g.empty() || coef_b.empty();
  return MeasureBuffer(kFormat, size, empty, WriteFields(Fields(*this)));
}

}  // namespace multilayer

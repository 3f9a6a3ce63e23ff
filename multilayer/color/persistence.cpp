// White coefficient files and buffers: the partition comes last.
#include "multilayer/io/persistence.h"

#include <utility>

#include "multilayer/color/white_coeff.h"
#include "multilayer/io/transfer.h"
#include "pellix/pellix.h"

namespace multilayer {
namespace {

constexpr FileFormat kFormat = {"WhiteCoeff", ".whitecoeff", /*load_reports_bad_mark=*/true};

// The body in file order: the one list that writing and reading go through.
template <class Stream, class Fields>
void TransferBody(Stream& stream, Fields& fields) {
  Transfer(stream, fields.singular_count);
  Transfer(stream, fields.coef_r);
  Transfer(stream, fields.coef_g);
  Transfer(stream, fields.coef_b);
  Transfer(stream, fields.part);
}

}  // namespace

void WhiteCoeff::WriteStream(ByteWriter& writer) const { TransferBody(writer, *this); }

const char* WhiteCoeff::ReadStream(ByteReader& reader) {
  WhiteCoeff staged;
  TransferBody(reader, staged);
  if (!reader.refused()) {
    singular_count = staged.singular_count;
    coef_r = std::move(staged.coef_r);
    coef_g = std::move(staged.coef_g);
    coef_b = std::move(staged.coef_b);
    part = staged.part;
  }
  return nullptr;
}

int32_t WhiteCoeff::Save(const std::string& fullname) const {
  PellixInfo("WhiteCoeff::Save");
  return SaveFile(kFormat, fullname, [this](ByteWriter& writer) { WriteStream(writer); });
}

int32_t WhiteCoeff::Load(const std::string& fullname) {
  PellixInfo("WhiteCoeff::Load");
  return LoadFile(kFormat, fullname, [this](ByteReader& reader) { return ReadStream(reader); });
}

int32_t WhiteCoeff::ToBuffer(uint8_t* buffer, uint64_t* size) const {
  PellixInfo("WhiteCoeff::ToBuffer");
  return WriteBuffer(buffer, size, [this](ByteWriter& writer) { WriteStream(writer); });
}

int32_t WhiteCoeff::FromBuffer(const uint8_t* buffer, uint64_t size) {
  PellixInfo("WhiteCoeff::FromBuffer");
  return ReadBuffer(kFormat, buffer, size,
                    [this](ByteReader& reader) { return ReadStream(reader); });
}

int32_t WhiteCoeff::GetBufferSize(uint64_t* size) const {
  PellixInfo("WhiteCoeff::GetBufferSize");
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

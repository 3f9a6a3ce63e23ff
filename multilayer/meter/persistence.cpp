// Measurement files and buffers: two codes, three matrices, then tagged metadata up to an end
// marker.
#include "multilayer/io/persistence.h"

#include <utility>

#include "multilayer/io/container.h"
#include "multilayer/meter/led_meter.h"

namespace multilayer {
namespace {

constexpr FileFormat kFormat = {"LedMeter", ".meter"};

// The metadata of a measurement file, in the order of writing: the one list that writing, reading
// and replacing go through.
template <class Meter, class Visit>
void ForEachRecord(Meter& meter, const Visit& visit) {
  visit(TAG_PART, meter.part);
  visit(TAG_PANEL, meter.panel);
  visit(TAG_LAYER, meter.layer);
  visit(TAG_CAPTURE, meter.capture);
}

void WriteBodyOf(const LedMeter& meter, ByteWriter& writer) {
  writer.Put(meter.color);
  writer.Put(meter.type);
  WriteMat(writer, meter.state);
  WriteMat(writer, meter.pos);
  WriteMat(writer, meter.chroma);
  ForEachRecord(meter, [&](int32_t tag, const auto& record) {
    if (record != nullptr) {
      writer.Put(tag);
      writer.Put(*record);
    }
  });
  writer.Put(int32_t{TAG_END});
}

// Tags that a measurement does not know are words without payload.
void ReadRecords(ByteReader& reader, LedMeter& meter) {
  int32_t tag = 0;
  while (reader.Get(tag) && tag != TAG_END) {
    ForEachRecord(meter, [&](int32_t known, auto& record) {
      if (tag == known) {
        using Record = typename std::decay_t<decltype(record)>::element_type;
        record = std::make_unique<Record>();
        reader.Get(*record);
      }
    });
  }
}

// Overwrites in place, so that a pointer to a record stays good over a load.
template <class Record>
void Replace(std::unique_ptr<Record>& target, std::unique_ptr<Record>& source) {
  if (source == nullptr) {
    return;
  }
  if (target == nullptr) {
    target = std::move(source);
  } else {
    *target = *source;
  }
}

const char* ReadBodyOf(LedMeter& meter, ByteReader& reader) {
  LedMeter staged;
  reader.Get(staged.color);
  reader.Get(staged.type);
  ReadMat(reader, staged.state);
  ReadMat(reader, staged.pos);
  ReadMat(reader, staged.chroma);
  ReadRecords(reader, staged);
  if (reader.refused() || reader.ended_early()) {
    return "it ends before the end marker";
  }
  meter.color = staged.color;
  meter.type = staged.type;
  meter.state = std::move(staged.state);
  meter.pos = std::move(staged.pos);
  meter.chroma = std::move(staged.chroma);
  Replace(meter.part, staged.part);
  Replace(meter.panel, staged.panel);
  Replace(meter.layer, staged.layer);
  Replace(meter.capture, staged.capture);
  return nullptr;
}

auto Writing(const LedMeter& meter) {
  return [&meter](ByteWriter& writer) { WriteBodyOf(meter, writer); };
}

auto Reading(LedMeter& meter) {
  return [&meter](ByteReader& reader) { return ReadBodyOf(meter, reader); };
}

}  // namespace

int32_t LedMeter::Save(const std::string& fullname) const {
  return SaveFile(kFormat, fullname, Writing(*this));
}

int32_t LedMeter::Load(const std::string& fullname) {
  return LoadFile(kFormat, fullname, Reading(*this));
}

int32_t LedMeter::ToBuffer(uint8_t* buffer, uint64_t* size) const {
  return WriteBuffer(kFormat, buffer, size, Writing(*this));
}

int32_t LedMeter::FromBuffer(const uint8_t* buffer, uint64_t size) {
  return ReadBuffer(kFormat, buffer, size, Reading(*this));
}

int32_t LedMeter::GetBufferSize(uint64_t* size) const {
  return MeasureBuffer(kFormat, size, chroma.empty(), Writing(*this));
}

}  // namespace multilayer

// One visit for both directions: a list of fields, tied in file order, is written when it is given a
// writer and read when it is given a reader, so that the two cannot drift apart.
#pragma once

#include <array>
#include <tuple>
#include <utility>

#include "multilayer/io/byte_stream.h"
#include "multilayer/io/container.h"
#include "multilayer/io/metadata.h"
#include "multilayer/io/persistence.h"

namespace multilayer {

template <class Value>
void Transfer(ByteWriter& writer, const Value& value) {
  writer.Put(value);
}
template <class Value>
void Transfer(ByteReader& reader, Value& value) {
  reader.Get(value);
}
// Field by field: a partition that ends early keeps its whole fields.
inline void Transfer(ByteReader& reader, PartRecord& part) {
  reader.Bytes(&part, sizeof part, sizeof part.x);
}
inline void Transfer(ByteWriter& writer, const cv::Mat& mat) { WriteMat(writer, mat); }
inline void Transfer(ByteReader& reader, cv::Mat& mat) { ReadMat(reader, mat); }

// Element by element: an array that ends early keeps its whole elements.
template <class Value, size_t count>
void Transfer(ByteWriter& writer, const std::array<Value, count>& values) {
  for (const Value& value : values) {
    Transfer(writer, value);
  }
}
template <class Value, size_t count>
void Transfer(ByteReader& reader, std::array<Value, count>& values) {
  for (Value& value : values) {
    Transfer(reader, value);
  }
}

// `fields`: a tuple, as std::tie makes it.
template <class Stream, class Fields>
void TransferFields(Stream& stream, Fields&& fields) {
  std::apply([&stream](auto&... field) { (Transfer(stream, field), ...); }, fields);
}

// Bodies that are a list of fields and nothing else. Reading goes through a staged copy, which is
// moved into the fields when the stream is sound.
template <class... Field>
WriteBody WriteFields(std::tuple<const Field&...> fields) {
  return [fields](ByteWriter& writer) { TransferFields(writer, fields); };
}
template <class... Field>
ReadBody ReadFields(std::tuple<Field&...> fields) {
  return [fields](ByteReader& reader) mutable -> const char* {
    std::tuple<Field...> staged;
    TransferFields(reader, staged);
    if (!reader.refused()) {
      fields = std::move(staged);
    }
    return nullptr;
  };
}

}  // namespace multilayer

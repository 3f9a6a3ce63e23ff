// One visit for both directions: a list of fields that calls Transfer writes when it is given a
// writer and reads when it is given a reader, so that the two cannot drift apart.
#pragma once

#include "multilayer/io/byte_stream.h"
#include "multilayer/io/container.h"

namespace multilayer {

template <class Value>
void Transfer(ByteWriter& writer, const Value& value) {
  writer.Put(value);
}
template <class Value>
void Transfer(ByteReader& reader, Value& value) {
  reader.Get(value);
}
inline void Transfer(ByteWriter& writer, const cv::Mat& mat) { WriteMat(writer, mat); }
inline void Transfer(ByteReader& reader, cv::Mat& mat) { ReadMat(reader, mat); }

}  // namespace multilayer

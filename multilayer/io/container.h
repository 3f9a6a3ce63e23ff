// The container that every file and buffer of the library shares: the byte-order mark, the
// matrix record and the file-name check. docs/formats.md has the byte tables.
#pragma once

#include <cstdint>
#include <string>

#include <opencv2/core/mat.hpp>

#include "multilayer/io/byte_stream.h"

namespace multilayer {

// 0 if `fullname` ends with `extension` (byte for byte, case-sensitive) and is longer than it; 8
// otherwise.
int32_t HasExtension(const std::string& fullname, const std::string& extension);

// The first byte of every file and buffer. ReadMark returns false if another stands there, or none.
void WriteMark(ByteWriter& writer);
bool ReadMark(ByteReader& reader);

// Writes `mat` (two dimensions, any depth, 1 to 512 channels) as a matrix record: rows, cols, type,
// channels as int32, then one plane a channel. A matrix that is empty, or has more dimensions,
// becomes a header of four zeros.
void WriteMat(ByteWriter& writer, const cv::Mat& mat);

// Reads a matrix record into new storage. Rows or columns below 1 give an empty matrix. A header
// that no valid stream can carry (unknown depth, channels outside 1..512, more bytes than the
// reader lets be claimed) refuses the stream and leaves `mat` empty. Elements that the stream lacks
// are 0.
void ReadMat(ByteReader& reader, cv::Mat& mat);

}  // namespace multilayer

// Save, Load, ToBuffer, FromBuffer and GetBufferSize, once for every persistent class. A class
// gives its name, its extension and two functions: write the body, read the body. A body that is a
// plain list of fields gets both from multilayer/io/transfer.h.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "multilayer/io/byte_stream.h"

namespace multilayer {

struct FileFormat {
  const char* class_name;  // begins every log line
  const char* extension;   // with its dot
  // What Load returns for a file that does not begin with the byte-order mark: 10 with a message,
  // or 0 without one and without reading further.
  bool load_reports_bad_mark = true;
};

// Writes the body; called twice when a size is needed first.
using WriteBody = std::function<void(ByteWriter&)>;

// Reads the body, standing behind the version, into a staging copy, and moves it into the object
// if the stream is sound. Returns null then, or the reason why the stream cannot be accepted (the
// object is then as it was). A refused reader is refused by the callers below in any case.
using ReadBody = std::function<const char*(ByteReader&)>;

// Each of the five first logs its name, "Class::Save" and so on.

// Mark, version and body. Statuses: 0; 8 wrong extension; 4 cannot be opened for writing. A write
// that fails later is not reported: compare the file's length with the buffer's size.
int32_t SaveFile(const FileFormat& format, const std::string& fullname, const WriteBody& write);

// Statuses: 0; 8 wrong extension; 2 cannot be opened (or is no regular file); 10 bad mark; 3 other
// version; 9 contents that no valid file can carry. A file that ends early gives 0 and one log
// line, unless the body's reader refuses it.
int32_t LoadFile(const FileFormat& format, const std::string& fullname, const ReadBody& read);

// `*size` is the capacity on entry, the bytes written on return. Statuses: 0; 1 null argument; 13
// capacity too small, buffer and size untouched.
int32_t WriteBuffer(const FileFormat& format, uint8_t* buffer, uint64_t* size,
                    const WriteBody& write);

// Statuses: 0; 1 null buffer; 10 bad mark; 3 other version; 9 as LoadFile.
int32_t ReadBuffer(const FileFormat& format, const uint8_t* buffer, uint64_t size,
                   const ReadBody& read);

// Stores in `*size` the length of the whole stream. Statuses: 0; 1 null argument; 5 `empty`: the
// object holds nothing worth a buffer.
int32_t MeasureBuffer(const FileFormat& format, uint64_t* size, bool empty, const WriteBody& write);

}  // namespace multilayer

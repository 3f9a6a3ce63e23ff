// The mark, the version and the checks around a body.
#include "multilayer/io/persistence.h"

#include "multilayer/io/container.h"
#include "multilayer/io/fail.h"
#include "multilayer/io/file.h"
#include "pellix/pellix.h"

namespace multilayer {
namespace {

constexpr int32_t kVersion = 1;

void LogEntry(const FileFormat& format, const char* operation) {
  PellixInfo("%s::%s", format.class_name, operation);
}

void WriteStream(ByteWriter& writer, const WriteBody& write) {
  WriteMark(writer);
  writer.Put(kVersion);
  write(writer);
}

// The length of the whole stream: mark, version and body.
uint64_t CountBytes(const WriteBody& write) {
  ByteWriter counter;
  WriteStream(counter, write);
  return counter.size();
}

// From the version on; `operation` names the caller in the messages.
int32_t ReadStream(const FileFormat& format, const char* operation, ByteReader& reader,
                   const ReadBody& read) {
  int32_t version = -1;
  if (!reader.Get(version) || version != kVersion) {
    return Fail(3, "%s::%s -- Error version in file.", format.class_name, operation);
  }
  const char* reason = read(reader);
  if (reader.refused()) {
    reason = "a count or a matrix header that no valid file can carry";
  }
  if (reason != nullptr) {
    return Fail(9, "%s::%s -- Error data in file: %s.", format.class_name, operation, reason);
  }
  if (reader.ended_early()) {
    return Fail(0, "%s::%s -- Data ends early, missing values are 0.", format.class_name,
                operation);
  }
  return 0;
}

}  // namespace

int32_t SaveFile(const FileFormat& format, const std::string& fullname, const WriteBody& write) {
  LogEntry(format, "Save");
  if (const int32_t status = HasExtension(fullname, format.extension); status != 0) {
    return Fail(status, "%s::Save--Error :: ext filename mismatch.", format.class_name);
  }
  const File file = OpenForWriting(fullname);
  if (file == nullptr) {
    return Fail(4, "%s::Save -- Failed to Open file. fullname = %s", format.class_name,
                fullname.c_str());
  }
  ByteWriter writer(file.get());
  WriteStream(writer, write);
  return 0;
}

int32_t LoadFile(const FileFormat& format, const std::string& fullname, const ReadBody& read) {
  LogEntry(format, "Load");
  if (const int32_t status = HasExtension(fullname, format.extension); status != 0) {
    return Fail(status, "%s::Load--Error :: ext filename mismatch.", format.class_name);
  }
  uint64_t length = 0;
  const File file = OpenForReading(fullname, length);
  if (file == nullptr) {
    return Fail(2, "%s::Load -- Failed to Open file. fullname = %s", format.class_name,
                fullname.c_str());
  }
  ByteReader reader(file.get(), length);
  if (!ReadMark(reader)) {
    return format.load_reports_bad_mark
               ? Fail(10, "%s::Load -- Error file endianness.", format.class_name)
               : 0;
  }
  return ReadStream(format, "Load", reader, read);
}

int32_t WriteBuffer(const FileFormat& format, uint8_t* buffer, uint64_t* size,
                    const WriteBody& write) {
  LogEntry(format, "ToBuffer");
  if (buffer == nullptr || size == nullptr) {
    return 1;
  }
  const uint64_t length = CountBytes(write);
  if (*size < length) {
    return 13;
  }
  ByteWriter writer(buffer);
  WriteStream(writer, write);
  *size = length;
  return 0;
}

int32_t ReadBuffer(const FileFormat& format, const uint8_t* buffer, uint64_t size,
                   const ReadBody& read) {
  LogEntry(format, "FromBuffer");
  if (buffer == nullptr) {
    return 1;
  }
  ByteReader reader(buffer, size);
  if (!ReadMark(reader)) {
    return Fail(10, "%s::FromBuffer -- Error file endianness.", format.class_name);
  }
  return ReadStream(format, "FromBuffer", reader, read);
}

int32_t MeasureBuffer(const FileFormat& format, uint64_t* size, bool empty,
                      const WriteBody& write) {
  LogEntry(format, "GetBufferSize");
  if (size == nullptr) {
    return 1;
  }
  if (empty) {
    return 5;
  }
  *size = CountBytes(write);
  return 0;
}

}  // namespace multilayer

// Files that are opened, read or written, and closed within one operation.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace multilayer {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

// Both open in binary and return null if that fails. An earlier file is replaced.
File OpenForWriting(const std::string& fullname);

// Only regular files have a length to hold their contents against, `length` in bytes; a folder, a
// pipe or a device is not opened.
File OpenForReading(const std::string& fullname, uint64_t& length);

}  // namespace multilayer

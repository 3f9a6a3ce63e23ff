// Opening files.
#include "multilayer/io/file.h"

#include <sys/stat.h>

namespace multilayer {

File OpenForWriting(const std::string& fullname) {
  return File(std::fopen(fullname.c_str(), "wb"));
}

File OpenForReading(const std::string& fullname, uint64_t& length) {
  struct stat status = {};
  if (stat(fullname.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return nullptr;
  }
  File file(std::fopen(fullname.c_str(), "rb"));
  if (file != nullptr) {
    length = static_cast<uint64_t>(status.st_size);
  }
  return file;
}

}  // namespace multilayer

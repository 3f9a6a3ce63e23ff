// Opening files.
#include "multilayer/io/file.h"

#include <fcntl.h>
#include <unistd.h>

#include <sys/stat.h>

namespace multilayer {

// "e": a program that the host starts meanwhile does not get the file.
File OpenForWriting(const std::string& fullname) {
  return File(std::fopen(fullname.c_str(), "wbe"));
}

// Asks what has been opened, not what the name was a moment before; and a pipe that nobody writes to
// is not waited for.
File OpenForReading(const std::string& fullname, uint64_t& length) {
  const int descriptor = open(fullname.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) {
    return nullptr;
  }
  struct stat status = {};
  File file(fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) ? fdopen(descriptor, "rb")
                                                                       : nullptr);
  if (file == nullptr) {
    close(descriptor);
    return nullptr;
  }
  length = static_cast<uint64_t>(status.st_size);
  return file;
}

}  // namespace multilayer

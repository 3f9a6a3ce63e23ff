// How a command ends: the exit codes, and the one exception that carries one of them to main.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace multilayer::tool {

enum class Exit {
  kDone = 0,
  kRefused = 1,         // the computation refused
  kWrongCall = 2,       // arguments that make no sense
  kBrokenFile = 3,      // a file's contents break a rule of its format
  kFileAccess = 4,      // a file cannot be read or written
  kOutOfTolerance = 5,  // verify: the corrected wall is not even enough
};

class Failure : public std::runtime_error {
 public:
  Failure(Exit code, const std::string& message) : std::runtime_error(message), code_(code) {}
  Exit code() const { return code_; }

 private:
  Exit code_;
};

// For a status of the library. Throws kFileAccess for a file that it cannot open, or kRefused.
inline void RequireDone(int32_t status, const std::string& what) {
  constexpr int32_t kCannotRead = 2;
  constexpr int32_t kCannotWrite = 4;
  if (status == kCannotRead || status == kCannotWrite) {
    throw Failure(Exit::kFileAccess,
                  what + ": cannot be " + (status == kCannotRead ? "read" : "written"));
  }
  if (status != 0) {
    throw Failure(Exit::kRefused,
                  what + ": the library refuses it with status " + std::to_string(status));
  }
}

}  // namespace multilayer::tool

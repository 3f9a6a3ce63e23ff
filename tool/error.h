// How a command ends: the exit codes, and the one exception that carries one of them to main.
#pragma once

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

}  // namespace multilayer::tool

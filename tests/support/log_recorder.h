// The host's side of logging: keeps every line for the tests to look at.
#pragma once

#include <string>
#include <vector>

namespace multilayer::testing {

// Records the log lines of the current thread from its construction to its end.
class LogRecorder {
 public:
  LogRecorder();
  ~LogRecorder();
  LogRecorder(const LogRecorder&) = delete;
  LogRecorder& operator=(const LogRecorder&) = delete;

  // Lines so far; each call leaves the record empty.
  std::vector<std::string> TakeErrors();
  std::vector<std::string> TakeInfos();
  std::vector<std::string> TakeDebugs();
};

}  // namespace multilayer::testing

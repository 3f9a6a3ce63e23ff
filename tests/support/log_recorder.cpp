// The three logging functions, as a host defines them.
#include "tests/support/log_recorder.h"

#include <cstdarg>
#include <cstdio>
#include <utility>

#include "pellix/pellix.h"

namespace multilayer::testing {

struct Lines {
  std::vector<std::string> errors;
  std::vector<std::string> infos;
  std::vector<std::string> debugs;
};

namespace {
thread_local Lines* recording = nullptr;
thread_local Lines lines;
}  // namespace

static int Record(std::vector<std::string> Lines::*kind, const char* format, va_list arguments) {
  char text[8192];
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  if (recording != nullptr) {
    (recording->*kind).emplace_back(text);
  }
  return length;
}

LogRecorder::LogRecorder() {
  lines = {};
  recording = &lines;
}
LogRecorder::~LogRecorder() { recording = nullptr; }
std::vector<std::string> LogRecorder::TakeErrors() { return std::exchange(lines.errors, {}); }
std::vector<std::string> LogRecorder::TakeInfos() { return std::exchange(lines.infos, {}); }
std::vector<std::string> LogRecorder::TakeDebugs() { return std::exchange(lines.debugs, {}); }

}  // namespace multilayer::testing

using multilayer::testing::Lines;
using multilayer::testing::Record;

int PellixError(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = Record(&Lines::errors, format, arguments);
  va_end(arguments);
  return length;
}

int PellixDebug(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = Record(&Lines::debugs, format, arguments);
  va_end(arguments);
  return length;
}

int PellixInfo(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = Record(&Lines::infos, format, arguments);
  va_end(arguments);
  return length;
}

// The default logging, on spdlog.
#include "pellix/pellix.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>

namespace {

using Level = spdlog::level::level_enum;

constexpr const char* kPattern = "%Y-%m-%d %H:%M:%S.%e %l: %v";

// The value of an environment variable; empty when unset.
std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

// Where messages go. Both sinks lock, so any thread may write.
class Log {
 public:
  Log() {
    console_.set_pattern(kPattern);
    ReadLevel();
    OpenFile();
  }

  // A message that the file does not take (disk full) goes to standard error, with the reason.
  void Write(Level level, const std::string& text) {
    if (level < threshold_) {
      return;
    }
    const spdlog::details::log_msg message({}, level, text);
    if (file_ != nullptr) {
      try {
        file_->log(message);
        file_->flush();
        return;
      } catch (const std::exception& error) {
        Complain(error.what());
      }
    }
    console_.log(message);
  }

 private:
  void Complain(const std::string& text) { console_.log({{}, Level::err, "pellix: " + text}); }

  void ReadLevel() {
    const std::string name = Environment("PELLIX_LEVEL");
    if (name == "off") {
      threshold_ = Level::off;
    } else if (name == "info") {
      threshold_ = Level::info;
    } else if (name == "debug") {
      threshold_ = Level::debug;
    } else if (!name.empty() && name != "error") {
      Complain("PELLIX_LEVEL=" + name + " is none of off, error, info, debug; error is used");
    }
  }

  void OpenFile() {
    const std::string name = Environment("PELLIX_FILE");
    if (name.empty()) {
      return;
    }
    try {
      file_ = std::make_unique<spdlog::sinks::basic_file_sink_mt>(name);
      file_->set_pattern(kPattern);
    } catch (const std::exception& error) {
      Complain(error.what() + std::string("; standard error is used"));
    }
  }

  Level threshold_ = Level::err;
  spdlog::sinks::stderr_sink_mt console_;
  std::unique_ptr<spdlog::sinks::basic_file_sink_mt> file_;
};

// Never destroyed: a host may log from its own static destructors. Every message is flushed when it
// is written, so nothing is lost at the end.
Log& TheLog() {
  static Log& log = *new Log;
  return log;
}

std::string Format(const char* format, int length, va_list arguments) {
  std::string text(static_cast<size_t>(length), '\0');
  // The terminating NUL may be written over the one that a string ends with.
  std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  return text;
}

// A format that cannot be applied is logged as it stands.
int Write(Level level, const char* format, va_list arguments) noexcept {
  if (format == nullptr) {
    return -1;
  }
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  try {
    TheLog().Write(level, length < 0 ? std::string(format) : Format(format, length, again));
  } catch (...) {
    // Out of memory, or no local time: the host, which only wanted to log, is better off without
    // the exception than without the line.
    std::fputs("pellix: a message was lost\n", stderr);
  }
  va_end(again);
  return length;
}

}  // namespace

int PellixError(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = Write(Level::err, format, arguments);
  va_end(arguments);
  return length;
}

int PellixDebug(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = Write(Level::debug, format, arguments);
  va_end(arguments);
  return length;
}

int PellixInfo(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = Write(Level::info, format, arguments);
  va_end(arguments);
  return length;
}

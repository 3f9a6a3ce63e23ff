// Runs the command as a user would, in a folder of its own.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace multilayer::testing {

// A folder that goes away with the object.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

struct Result {
  int exit = -1;  // -1: ended by a signal
  int signal = 0;
  std::string out;
  std::string err;
};

struct Surroundings {
  std::string standard_output;   // a file to write to, or empty: captured
  uint64_t file_size_limit = 0;  // bytes, or 0: none
  int kill_after_ms = 0;         // SIGTERM then, or 0: never
};

// The binary under test with `arguments`, in `folder`.
Result Run(const std::filesystem::path& folder, const std::vector<std::string>& arguments,
           const Surroundings& surroundings = {});

std::string ReadFile(const std::filesystem::path& path);
void WriteFile(const std::filesystem::path& path, const std::string& contents);

// Names of all files under `folder` that contain `part`.
std::vector<std::string> FilesWith(const std::filesystem::path& folder, const std::string& part);

}  // namespace multilayer::testing

// fork and exec, with both outputs in files: no pipe can fill up.
#include "tests/tool/process.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>
#include <unistd.h>

#include <sys/resource.h>
#include <sys/wait.h>

namespace multilayer::testing {
namespace {

namespace fs = std::filesystem;

void Redirect(const std::string& file, int descriptor) {
  const int opened = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (opened < 0 || dup2(opened, descriptor) < 0) {
    _exit(126);
  }
}

[[noreturn]] void Become(const fs::path& folder, std::vector<std::string> arguments,
                         const Surroundings& surroundings, const std::string& out,
                         const std::string& err) {
  Redirect(out, STDOUT_FILENO);
  Redirect(err, STDERR_FILENO);
  if (surroundings.file_size_limit > 0) {
    const rlimit limit = {surroundings.file_size_limit, surroundings.file_size_limit};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  arguments.insert(arguments.begin(), MULTILAYER_COMMAND);
  std::vector<char*> argv;
  for (std::string& argument : arguments) {
    argv.push_back(argument.data());
  }
  argv.push_back(nullptr);
  if (chdir(folder.c_str()) == 0) {
    execv(argv[0], argv.data());
  }
  _exit(127);
}

}  // namespace

TemporaryFolder::TemporaryFolder() {
  std::string name = (fs::temp_directory_path() / "multilayer-test-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("no temporary folder");
  }
  path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

Result Run(const fs::path& folder, const std::vector<std::string>& arguments,
           const Surroundings& surroundings) {
  const TemporaryFolder outputs;
  const std::string captured = outputs.path() / "out";
  const std::string err = outputs.path() / "err";
  const bool redirected = !surroundings.standard_output.empty();
  const pid_t child = fork();
  if (child == 0) {
    Become(folder, arguments, surroundings, redirected ? surroundings.standard_output : captured,
           err);
  }
  if (surroundings.kill_after_ms > 0) {
    std::this_thread::sleep_for(std::chrono::milliseconds(surroundings.kill_after_ms));
    kill(child, SIGTERM);
  }
  int status = 0;
  waitpid(child, &status, 0);
  Result result;
  result.exit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  result.out = redirected ? "" : ReadFile(captured);
  result.err = ReadFile(err);
  return result;
}

std::string ReadFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFile(const fs::path& path, const std::string& contents) {
  std::ofstream(path, std::ios::binary) << contents;
}

std::vector<std::string> FilesWith(const fs::path& folder, const std::string& part) {
  std::vector<std::string> names;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    if (entry.is_regular_file() && name.find(part) != std::string::npos) {
      names.push_back(name);
    }
  }
  return names;
}

}  // namespace multilayer::testing

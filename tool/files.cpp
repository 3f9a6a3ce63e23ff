// Writing beside and renaming; reading with reasons.
#include "tool/files.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <system_error>
#include <unistd.h>

#include <sys/stat.h>

#include "multilayer/coeff/chroma_coeff.h"
#include "multilayer/coeff/lum_coeff.h"
#include "multilayer/io/file.h"
#include "tool/error.h"
#include "tool/scan.h"

namespace multilayer::tool {
namespace {

namespace fs = std::filesystem;

// What a signal handler may look at: the names of the files in the making. The sets of a wall are
// the most at a time, one a partition; of a wall with more than this, a signal would leave some.
std::array<std::atomic<const char*>, 1024> pending_names;
static_assert(std::atomic<const char*>::is_always_lock_free, "read by a signal handler");

int Register(const char* name) {
  for (size_t i = 0; i < pending_names.size(); ++i) {
    const char* free = nullptr;
    if (pending_names[i].compare_exchange_strong(free, name)) {
      return static_cast<int>(i);
    }
  }
  return -1;
}

void RemovePendingAndDie(int signal_number) {
  for (const std::atomic<const char*>& name : pending_names) {
    if (const char* file = name.load(); file != nullptr) {
      unlink(file);
    }
  }
  // The handler was reset on entry: the signal now does what it does by default.
  raise(signal_number);
}

[[noreturn]] void FailAccess(const std::string& path, const char* what, int error) {
  const std::string reason = error == 0 ? "" : ": " + std::generic_category().message(error);
  throw Failure(Exit::kFileAccess, path + ": " + what + reason);
}

// To the disk: a rename that outlives a power cut must not name a file that does not.
void Sync(const std::string& path) {
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) {
    FailAccess(path, "cannot be opened again", errno);
  }
  const int error = fsync(descriptor) == 0 ? 0 : errno;
  close(descriptor);
  if (error != 0) {
    FailAccess(path, "cannot be written", error);
  }
}

std::string TemporaryFor(const fs::path& target) {
  fs::path name = target.stem();
  name += ".tmp-" + std::to_string(getpid());
  name += target.extension();
  return (target.parent_path() / name).string();
}

// The library's Save reports a file that it cannot open, and no later failure.
template <class Object>
std::unique_ptr<PendingFile> Stage(const fs::path& path, const Object& object) {
  uint64_t length = 0;
  if (object.GetBufferSize(&length) != 0) {
    throw Failure(Exit::kRefused, path.string() + ": there is nothing to save");
  }
  auto file = std::make_unique<PendingFile>(path);
  errno = 0;
  if (object.Save(file->temporary()) != 0) {
    FailAccess(path.string(), "cannot be written", errno);
  }
  file->Finish(length);
  return file;
}

// After a clean scan the library has no reason left to refuse but one: lack of memory.
template <class Object>
Object Load(const fs::path& path) {
  RequireSound(path);
  Object object;
  if (const int32_t status = object.Load(path.string()); status != 0) {
    throw Failure(Exit::kBrokenFile,
                  path.string() + ": the library refuses it with status " + std::to_string(status));
  }
  return object;
}

}  // namespace

PendingFile::PendingFile(const fs::path& target) : PendingFile(target, TemporaryFor(target)) {}

PendingFile::PendingFile(const fs::path& target, const fs::path& temporary)
    : target_(target.string()),
      temporary_(temporary.string()),
      slot_(Register(temporary_.c_str())) {}

PendingFile::~PendingFile() {
  if (!committed_) {
    unlink(temporary_.c_str());
  }
  if (slot_ >= 0) {
    pending_names[static_cast<size_t>(slot_)] = nullptr;
  }
}

void PendingFile::Finish(uint64_t expected_length) {
  struct stat status = {};
  if (stat(temporary_.c_str(), &status) != 0) {
    FailAccess(target_, "cannot be written", errno);
  }
  if (static_cast<uint64_t>(status.st_size) != expected_length) {
    throw Failure(Exit::kFileAccess, target_ + ": only " + std::to_string(status.st_size) + " of " +
                                         std::to_string(expected_length) +
                                         " bytes could be written: is the disk full?");
  }
  Sync(temporary_);
}

void PendingFile::Rename() {
  if (std::rename(temporary_.c_str(), target_.c_str()) != 0) {
    FailAccess(target_, "cannot be replaced", errno);
  }
  committed_ = true;
}

void PendingFile::Commit(uint64_t expected_length) {
  Finish(expected_length);
  Rename();
}

void InstallSignalHandlers() {
  struct sigaction action = {};
  action.sa_handler = RemovePendingAndDie;
  action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_NODEFER;
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    sigaction(number, &action, nullptr);
  }
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

std::string ReadText(const fs::path& path) {
  const File file(std::fopen(path.c_str(), "rb"));
  if (file == nullptr) {
    FailAccess(path.string(), "cannot be opened", errno);
  }
  std::string text;
  std::array<char, 65536> block;
  for (size_t got = 1; got > 0;) {
    got = std::fread(block.data(), 1, block.size(), file.get());
    text.append(block.data(), got);
  }
  if (std::ferror(file.get()) != 0) {
    FailAccess(path.string(), "cannot be read", errno);
  }
  return text;
}

void WriteText(const fs::path& path, std::string_view text) {
  PendingFile pending(path);
  {
    const File file(std::fopen(pending.temporary().c_str(), "wb"));
    if (file == nullptr) {
      FailAccess(path.string(), "cannot be written", errno);
    }
    std::fwrite(text.data(), 1, text.size(), file.get());
  }
  pending.Commit(text.size());
}

void PrintOut(std::string_view text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
    FailAccess("standard output", "cannot be written", errno);
  }
}

void MakeFolder(const fs::path& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) {
    FailAccess(folder.string(), "cannot be made a folder", error.value());
  }
}

LedMeter LoadMeter(const fs::path& path) { return Load<LedMeter>(path); }

MultiLayerCoeff LoadCoefficients(const fs::path& path) { return Load<MultiLayerCoeff>(path); }

void SaveMeter(const fs::path& path, const LedMeter& meter) { Stage(path, meter)->Rename(); }

void SaveCoefficients(const fs::path& path, const MultiLayerCoeff& engine) {
  Stage(path, engine)->Rename();
}

template <class Set>
Set LoadSet(const fs::path& path) {
  return Load<Set>(path);
}

template <class Set>
void SaveSet(const fs::path& path, const Set& set) {
  Stage(path, set)->Rename();
}

template <class Set>
std::unique_ptr<PendingFile> StageSet(const fs::path& path, const Set& set) {
  return Stage(path, set);
}

template LumCoeff LoadSet(const fs::path&);
template void SaveSet(const fs::path&, const LumCoeff&);
template std::unique_ptr<PendingFile> StageSet(const fs::path&, const LumCoeff&);
template ChromaCoeff LoadSet(const fs::path&);
template void SaveSet(const fs::path&, const ChromaCoeff&);
template std::unique_ptr<PendingFile> StageSet(const fs::path&, const ChromaCoeff&);

}  // namespace multilayer::tool

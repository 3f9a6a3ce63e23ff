// Files that are written whole or not at all, and files that are read with a reason when they
// cannot be.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "multilayer/meter/led_meter.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"

namespace multilayer::tool {

// A file in the making: it stands beside its final place, with the same extension, until Commit()
// renames it. Removed again if it never gets that far, also when a signal ends the program.
class PendingFile {
 public:
  explicit PendingFile(const std::filesystem::path& target);
  // Takes over a file that somebody else writes at `temporary`.
  PendingFile(const std::filesystem::path& target, const std::filesystem::path& temporary);
  ~PendingFile();
  PendingFile(const PendingFile&) = delete;
  PendingFile& operator=(const PendingFile&) = delete;

  // Where to write.
  const std::string& temporary() const { return temporary_; }

  // Checks that all bytes arrived, and flushes them to the disk. Throws kFileAccess.
  void Finish(uint64_t expected_length);
  // Gives the finished file its name. Throws kFileAccess.
  void Rename();
  // Both.
  void Commit(uint64_t expected_length);

 private:
  std::string target_;
  std::string temporary_;
  int slot_;
  bool committed_ = false;
};

// Removes pending files when SIGINT, SIGTERM or SIGHUP ends the program, and makes a file-size
// limit or a closed pipe an ordinary write error. Call once.
void InstallSignalHandlers();

// The whole file as text. Throws kFileAccess.
std::string ReadText(const std::filesystem::path& path);
void WriteText(const std::filesystem::path& path, std::string_view text);

// Writes to standard output, at once. Throws kFileAccess.
void PrintOut(std::string_view text);

// Makes the folder and those above it where missing. Throws kFileAccess.
void MakeFolder(const std::filesystem::path& folder);

// The loaders check the file strictly (scan.h) before they let the library read it.
// Throw kFileAccess, kBrokenFile.
LedMeter LoadMeter(const std::filesystem::path& path);
MultiLayerCoeff LoadCoefficients(const std::filesystem::path& path);
void SaveMeter(const std::filesystem::path& path, const LedMeter& meter);
void SaveCoefficients(const std::filesystem::path& path, const MultiLayerCoeff& engine);

// Of LumCoeff and ChromaCoeff.
template <class Set>
Set LoadSet(const std::filesystem::path& path);
template <class Set>
void SaveSet(const std::filesystem::path& path, const Set& set);
// Finished, to be renamed when all that belongs together is.
template <class Set>
std::unique_ptr<PendingFile> StageSet(const std::filesystem::path& path, const Set& set);

}  // namespace multilayer::tool

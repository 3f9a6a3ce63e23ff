// A byte stream from either of its sources.
#pragma once

#include <cstdio>
#include <memory>

#include "multilayer/io/byte_stream.h"
#include "tests/golden/images.h"

namespace multilayer::testing {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

// Runs `test` on readers of the same bytes in memory and in a file.
template <class Test>
void OnBothSources(const Image& bytes, const Test& test) {
  {
    SCOPED_TRACE("memory");
    ByteReader reader(bytes.data(), bytes.size());
    test(reader);
  }
  SCOPED_TRACE("file");
  const TempFolder folder;
  WriteFile(folder / "stream", bytes);
  const File file(std::fopen((folder / "stream").c_str(), "rb"));
  ByteReader reader(file.get(), bytes.size());
  test(reader);
}

}  // namespace multilayer::testing

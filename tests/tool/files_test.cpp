// Files in the making.
#include "tool/files.h"

#include <functional>

#include <gmock/gmock.h>

#include "tests/tool/process.h"
#include "tool/error.h"
#include "tool/picture.h"

namespace multilayer::tool {
namespace {

using testing::FilesWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::ReadFile;
using testing::TemporaryFolder;
using testing::WriteFile;

std::string ErrorOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.code(), Exit::kFileAccess);
    return failure.what();
  }
  return "no error";
}

TEST(PendingFile, AShortFileNeverTakesTheNameOfTheOldOne) {
  const TemporaryFolder folder;
  const std::filesystem::path path = folder.path() / "a.mlcoefs";
  WriteFile(path, "old");
  const std::string error = ErrorOf([&] {
    PendingFile file(path);
    EXPECT_THAT(file.temporary(), ::testing::EndsWith(".mlcoefs"));
    WriteFile(file.temporary(), "new, but");
    file.Commit(10);
  });
  EXPECT_THAT(error, HasSubstr("a.mlcoefs: only 8 of 10 bytes could be written"));
  EXPECT_EQ(ReadFile(path), "old");
  EXPECT_THAT(FilesWith(folder.path(), "tmp"), IsEmpty());
}

TEST(PendingFile, ReplacesTheOldFile) {
  const TemporaryFolder folder;
  WriteFile(folder.path() / "a.toml", "old");
  WriteText(folder.path() / "a.toml", "new");
  EXPECT_EQ(ReadFile(folder.path() / "a.toml"), "new");
  EXPECT_THAT(FilesWith(folder.path(), "tmp"), IsEmpty());
}

TEST(Files, ErrorsNameFileAndReason) {
  const TemporaryFolder folder;
  EXPECT_THAT(ErrorOf([&] { ReadText(folder.path() / "none.toml"); }),
              HasSubstr("none.toml: cannot be opened: No such file or directory"));
  EXPECT_THAT(ErrorOf([&] { LoadMeter(folder.path() / "none.meter"); }),
              HasSubstr("none.meter: cannot be opened: No such file or directory"));
  EXPECT_THAT(ErrorOf([&] { WriteText(folder.path() / "no" / "folder.toml", "x"); }),
              HasSubstr("folder.toml: cannot be written: No such file or directory"));
}

TEST(Png, ACutFileIsNoticed) {
  const TemporaryFolder folder;
  const std::filesystem::path path = folder.path() / "a.png";
  cv::Mat image(50, 60, CV_8UC1);
  for (int i = 0; i < 3000; ++i) {
    image.data[i] = static_cast<uint8_t>(i * i % 251);
  }
  WritePng(path, image);
  const std::string bytes = ReadFile(path);
  EXPECT_EQ(CheckPng(path, {60, 50}), bytes.size());
  EXPECT_THAT(ErrorOf([&] { CheckPng(path, {60, 51}); }), HasSubstr("a.png: could not be written"));
  for (const size_t left : {size_t{0}, size_t{20}, bytes.size() / 2, bytes.size() - 1}) {
    WriteFile(path, bytes.substr(0, left));
    EXPECT_THAT(ErrorOf([&] {
                  CheckPng(path, {60, 50});
                }),
                HasSubstr("could not be written"))
        << left;
  }
}

}  // namespace
}  // namespace multilayer::tool

// The default logging: what a host without logging of its own finds on standard error or in a file.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

std::string Contents(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream text;
  text << stream.rdbuf();
  return text.str();
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

class Pellix : public testing::Test {
 protected:
  Pellix() { std::filesystem::create_directory(folder); }
  ~Pellix() override { std::filesystem::remove_all(folder); }

  // Runs the speaker with `environment` ("NAME=value ..."); its streams are then in out and err.
  void Speak(const std::string& environment, const std::string& what) {
    const std::string command = "env -u PELLIX_LEVEL -u PELLIX_FILE " + environment + " " +
                                SPEAKER + " " + what + " >" + (folder / "out").string() + " 2>" +
                                (folder / "err").string();
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
    out = Contents(folder / "out");
    err = Lines(Contents(folder / "err"));
  }

  const std::filesystem::path folder =
      std::filesystem::path(testing::TempDir()) /
      ("pellix_" + std::string(testing::UnitTest::GetInstance()->current_test_info()->name()));
  const std::string log = (folder / "log.txt").string();
  std::string out;
  std::vector<std::string> err;
};

// The speaker always ends with an error from a static destructor.
TEST_F(Pellix, WritesTheKindsOfItsLevel) {
  const auto error = EndsWith(" error: an error 1");
  const auto info = EndsWith(" info: an info two");
  const auto debug = EndsWith(" debug: a debug");
  const auto last = EndsWith(" error: last words");
  Speak("", "all");
  EXPECT_THAT(err, ElementsAre(error, last));
  EXPECT_THAT(err[0], ContainsRegex("^[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9:]{8}\\.[0-9]{3} error: "));
  EXPECT_EQ(out, "10 11 20");  // the lengths, also of what is not written
  Speak("PELLIX_LEVEL=error", "all");
  EXPECT_THAT(err, ElementsAre(error, last));
  Speak("PELLIX_LEVEL=info", "all");
  EXPECT_THAT(err, ElementsAre(error, info, last));
  Speak("PELLIX_LEVEL=debug", "all");
  EXPECT_THAT(err, ElementsAre(error, info, debug, "of two lines", last));
  Speak("PELLIX_LEVEL=off", "all");
  EXPECT_THAT(err, ElementsAre());
  EXPECT_EQ(out, "10 11 20");
  Speak("PELLIX_LEVEL=loud", "all");
  EXPECT_THAT(err, ElementsAre(HasSubstr("PELLIX_LEVEL=loud is none of"), error, last));
}

TEST_F(Pellix, AppendsToItsFile) {
  Speak("PELLIX_FILE=" + log, "all");
  Speak("PELLIX_LEVEL=info PELLIX_FILE=" + log, "all");
  EXPECT_THAT(err, ElementsAre());
  EXPECT_THAT(Lines(Contents(log)),
              ElementsAre(EndsWith("an error 1"), EndsWith("last words"), EndsWith("an error 1"),
                          EndsWith("an info two"), EndsWith("last words")));
}

TEST_F(Pellix, FallsBackToStandardError) {
  const auto error = EndsWith(" error: an error 1");
  const auto last = EndsWith(" error: last words");
  // A folder, and a name below a file, cannot be opened, whoever runs this.
  const std::string unopenable[] = {folder.string(), (folder / "out" / "log.txt").string()};
  for (const std::string& name : unopenable) {
    Speak("PELLIX_FILE=" + name, "all");
    EXPECT_THAT(err,
                ElementsAre(AllOf(HasSubstr(" error: pellix: "), HasSubstr(name)), error, last));
  }
  // A disk that is full opens well and then takes nothing.
  if (std::filesystem::exists("/dev/full")) {
    const auto reason = AllOf(HasSubstr(" error: pellix: "), HasSubstr("No space left on device"));
    Speak("PELLIX_FILE=/dev/full", "all");
    EXPECT_THAT(err, ElementsAre(reason, error, reason, last));
  }
}

TEST_F(Pellix, KeepsLongMessagesWhole) {
  const auto whole = EndsWith(" error: <" + std::string(200000, 'x') + ">");
  Speak("", "much");
  EXPECT_THAT(err, ElementsAre(whole, EndsWith("last words")));
  Speak("PELLIX_FILE=" + log, "much");
  EXPECT_THAT(Lines(Contents(log)), ElementsAre(whole, EndsWith("last words")));
}

TEST_F(Pellix, KeepsLinesOfThreadsApart) {
  std::set<std::string> expected;
  for (int t = 0; t < 4; ++t) {
    for (int i = 0; i < 100; ++i) {
      expected.insert("thread " + std::to_string(t) + " line " + std::to_string(i) + ".");
    }
  }
  Speak("PELLIX_FILE=" + log, "threads");
  std::set<std::string> found;
  for (const std::string& line : Lines(Contents(log))) {
    found.insert(line.substr(line.find(": ") + 2));
  }
  expected.insert("last words");
  EXPECT_EQ(found, expected);
}

TEST_F(Pellix, LogsAFormatThatCannotBeApplied) {
  Speak("LC_ALL=C", "impossible");
  EXPECT_EQ(out, "-1");
  EXPECT_THAT(err, ElementsAre(EndsWith(" error: impossible %ls"), EndsWith("last words")));
}

}  // namespace

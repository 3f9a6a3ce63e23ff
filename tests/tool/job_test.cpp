// The job file: what is read back, and what every wrong file is told.
#include "tool/job.h"

#include <gmock/gmock.h>

#include "tests/tool/process.h"
#include "tool/error.h"
#include "tool/truth.h"

namespace multilayer::tool {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using testing::TemporaryFolder;
using testing::WriteFile;

std::string ErrorOf(const std::string& text) {
  const TemporaryFolder folder;
  WriteFile(folder.path() / "wall.toml", text);
  try {
    ReadJob(folder.path() / "wall.toml");
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.code(), Exit::kBrokenFile);
    EXPECT_THAT(failure.what(), HasSubstr("wall.toml"));
    return failure.what();
  }
  return "accepted";
}

TEST(Job, SurvivesWritingAndReading) {
  const TemporaryFolder folder;
  Job job;
  job.levels = {16, 200};
  job.partitions = {"left", "right-2"};
  job.files = "shots/{partition}/{color}-{level}.meter";
  job.gamma = 2.35;
  job.bit_width = 18;
  job.gamma_bits = 20;
  job.layers = 7;
  job.reach_percentile = 99.5;
  job.decrease = std::array<double, 3>{0.1, 0, 0.25};
  job.from_level = 32;
  job.chromaticity = {0.283, 0.298};
  job.white = std::array<double, 3>{640, 660, 720};
  WriteFile(folder.path() / "wall.toml", JobText(job));
  const Job read = ReadJob(folder.path() / "wall.toml");
  EXPECT_EQ(JobText(read), JobText(job));
  EXPECT_EQ(read.decrease, job.decrease);
  EXPECT_EQ(read.white, job.white);
  EXPECT_FALSE(read.luminance.has_value());
}

TEST(Job, NeedsLittleByHand) {
  const TemporaryFolder folder;
  WriteFile(folder.path() / "wall.toml",
            "[capture]\nlevels = [8, 255]\npartitions = [\"a\"]\nfiles = "
            "\"{color}_{level:03}.meter\"\n");
  const Job job = ReadJob(folder.path() / "wall.toml");
  EXPECT_EQ(job.MeterFile("a", 1, 8), folder.path() / "green_008.meter");
  EXPECT_EQ(job.bit_width, 16);
  EXPECT_EQ(job.GammaTable().cols, 256);
}

TEST(Job, TakesAGammaTable) {
  const TemporaryFolder folder;
  std::string table;
  for (int i = 0; i < 256; ++i) {
    table += std::to_string(i * 257) + ", ";
  }
  WriteFile(folder.path() / "wall.toml",
            "[capture]\nlevels = [8, 255]\npartitions = [\"a\"]\n[display]\ngamma_table = [" +
                table + "]\n");
  const cv::Mat gamma = ReadJob(folder.path() / "wall.toml").GammaTable();
  EXPECT_EQ(gamma.size(), cv::Size(256, 3));
  EXPECT_EQ(gamma.at<int32_t>(2, 255), 65535);
}

// Each line replaces or adds one thing to a sound file; the message names the line, the key, the
// value and the rule.
TEST(Job, TellsWhatIsWrong) {
  const std::string capture = "[capture]\nlevels = [8, 255]\npartitions = [\"a\", \"b\"]\n";
  const std::pair<std::string, std::string> cases[] = {
      {"", "capture.partitions is []: must name one partition or more"},
      {"[capture]\npartitions = [\"a\"]\n", "capture.levels is []: must hold two levels or more"},
      {"[capture]\nlevels = [8, 8]\npartitions = [\"a\"]\n",
       ":2: capture.levels is [8, 8]: must ascend"},
      {"[capture]\nlevels = [8, 256]\npartitions = [\"a\"]\n",
       ":2: capture.levels is [8, 256]: must stay below the number of gray levels, 256"},
      {"[capture]\nlevels = [8, 2.5]\n", ":2: capture.levels[1] is 2.5: must be a whole number"},
      {"[capture]\nlevels = [0, 8]\n", ":2: capture.levels[0] is 0: must be 1 to 65535"},
      {"[capture]\nlevels = 8\n", ":2: capture.levels is 8: must be a list"},
      {"[capture]\nlevels = [8, 9]\npartitions = [\"a\", \"a\"]\n",
       ":3: capture.partitions is \"a\": must name each partition once"},
      {"[capture]\nlevels = [8, 9]\npartitions = [\"../a\"]\n",
       ":3: capture.partitions is \"../a\": must be names of letters, digits, - and _"},
      {capture + "files = \"{partition}{color}.meter\"\n", "must contain {level} or {level:03}"},
      {capture + "files = \"{color}{level}.meter\"\n", ":4: capture.files is"},
      {capture + "files = \"{partition}{color}{level}.met\"\n", "must end with .meter"},
      {capture + "files = \"{partition}{color}{level}{gray}.meter\"\n", "must hold no braces but"},
      {capture + "files = 7\n", ":4: capture.files is 7: must be a text in quotes"},
      {capture + "level = [1]\n", ":4: capture.level: there is no such key"},
      {capture + "[captures]\n", ":4: captures: there is no such key"},
      {capture + "[verify]\nbetween = true\n", ":5: verify.between is true: must be a finite num"},
      {capture + "[verify]\nbetween = nan\n", ":5: verify.between is nan: must be a finite number"},
      {capture + "[verify]\nbetween = 0.5\n", ":5: verify.between is 0.5: must be 1 to 1000"},
      {capture + "[target]\ndecrease = [0.1, 0.2]\n",
       ":5: target.decrease is [0.1, 0.2]: must be a list of 3 numbers"},
      {capture + "[target]\ndecrease = [0.1, 0.2, 1.0]\n",
       ":5: target.decrease[2] is 1: must be -1 to 0.999"},
      {capture + "[white]\nchromaticity = [0.3]\n",
       ":5: white.chromaticity is [0.3]: must be a list of 2 numbers"},
      {capture + "[coefficients]\nlayers = 99999999999\n",
       ":5: coefficients.layers is 99999999999: must be 2 to 16384"},
      {"verify = 3\n" + capture, ":1: verify is 3: must be a table, [verify]"},
      {capture + "[coefficients]\nbit_width = 18\n",
       ":5: coefficients.bit_width is 18: must be at most the bits of the display's linear output"},
      {capture + "[display]\ngamma_table = [0, 1]\n", "must have 256 entries or more"},
      {capture + "[verify\n", ":4: "},
  };
  for (const auto& [text, message] : cases) {
    EXPECT_THAT(ErrorOf(text), HasSubstr(message)) << text;
  }
  const std::string many = "[capture]\nlevels = [1,2,3,4,5,6]\npartitions = [\"a\"]\n";
  EXPECT_THAT(ErrorOf(many), HasSubstr("must be at least the number of captured levels, 6"));
}

TEST(Truth, EveryKeyMustBeThere) {
  const TemporaryFolder folder;
  Truth truth;
  truth.wall.seed = 987654321987;
  truth.wall.turn_on_time = 12.5e-9;
  const std::string text = TruthText(truth);
  const std::filesystem::path path = folder.path() / "truth.toml";
  WriteFile(path, text);
  const Truth read = ReadTruth(path);
  EXPECT_EQ(read.wall.seed, truth.wall.seed);
  EXPECT_EQ(TruthText(read), text);

  const size_t begin = text.find("\ndroop_spread") + 1;
  WriteFile(path, std::string(text).erase(begin, text.find('\n', begin) - begin));
  try {
    ReadTruth(path);
    FAIL() << "accepted";
  } catch (const Failure& failure) {
    EXPECT_THAT(failure.what(), EndsWith("light.droop_spread is missing: must be there"));
  }
}

}  // namespace
}  // namespace multilayer::tool

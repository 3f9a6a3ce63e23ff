// The command from end to end: the real binary on a small wall.
#include <csignal>
#include <filesystem>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "tests/tool/process.h"

namespace multilayer::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::SizeIs;
using ::testing::StartsWith;

// A wall that no even division fits: 61 x 43 in 3 x 2 partitions.
class CommandTest : public ::testing::Test {
 protected:
  Result Simulate(const char* division = "3x2", const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments = {"simulate", "job",          "--width",      "61",
                                          "--height", "43",           "--partitions", division,
                                          "--levels", "64,96,128,255"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
  }
  Result Run(const std::vector<std::string>& arguments, const Surroundings& surroundings = {}) {
    return testing::Run(folder_.path(), arguments, surroundings);
  }
  fs::path Job() const { return folder_.path() / "job"; }

  TemporaryFolder folder_;
};

TEST_F(CommandTest, MakesAWallEven) {
  const Result simulated = Simulate();
  ASSERT_EQ(simulated.exit, 0) << simulated.err;
  EXPECT_THAT(FilesWith(Job(), ".meter"), SizeIs(6 * 3 * 4));

  const Result calibrated = Run({"calibrate", "job/wall.toml", "--images"});
  ASSERT_EQ(calibrated.exit, 0) << calibrated.err;
  EXPECT_THAT(calibrated.out, AllOf(HasSubstr("Target at full drive: red "), HasSubstr("p12")));
  EXPECT_THAT(FilesWith(Job(), ".mlcoefs"), SizeIs(6));
  EXPECT_THAT(FilesWith(Job() / "images", "MLCoef_Green_Layer_"), SizeIs(6 * 4));
  EXPECT_THAT(FilesWith(Job(), "tmp"), IsEmpty());

  const Result verified = Run({"verify", "job/wall.toml", "--json", "--pictures"});
  ASSERT_EQ(verified.exit, 0) << verified.err;
  const auto json = nlohmann::json::parse(verified.out);
  EXPECT_EQ(json["leds"], 61 * 43);
  EXPECT_TRUE(json["passed"]);
  ASSERT_THAT(json["rows"], SizeIs(3 * 8));
  int judged = 0;
  for (const auto& row : json["rows"]) {
    judged += row["judged"] ? 1 : 0;
    if (row["level"] == 128) {
      // An uncorrected wall is off by percents; the corrected one by about the camera's 0.2 %.
      EXPECT_GT(row["before"]["cv"], 0.03);
      EXPECT_LT(row["after"]["cv"], 0.0025);
      EXPECT_NEAR(row["after"]["mean_over_target"], 1, 0.01);
    }
  }
  EXPECT_EQ(judged, 3 * 7) << "all but the one below the captured levels";
  EXPECT_THAT(FilesWith(Job(), "wall_"), SizeIs(3));

  const Result info = Run({"info", "--json", "job/p00.mlcoefs", "job/p12_blue_255.meter"});
  ASSERT_EQ(info.exit, 0) << info.err;
  const auto files = nlohmann::json::parse(info.out);
  ASSERT_THAT(files, SizeIs(2));
  EXPECT_TRUE(files[0]["sound"]);
  EXPECT_EQ(files[1]["header"]["part.x"], 40);
  EXPECT_EQ(files[1]["header"]["part.w"], 21);
}

// Partitions share their targets and their LEDs' truth: how a wall is divided changes no LED.
TEST_F(CommandTest, TheDivisionIsNotSeen) {
  std::vector<nlohmann::json> rows;
  for (const char* division : {"3x2", "1x1"}) {
    ASSERT_EQ(Simulate(division, {"--force"}).exit, 0);
    ASSERT_EQ(Run({"calibrate", "job/wall.toml"}).exit, 0);
    const Result result = Run({"verify", "job/wall.toml", "--json", "--levels", "100"});
    rows.push_back(nlohmann::json::parse(result.out)["rows"]);
  }
  for (size_t colour = 0; colour < 3; ++colour) {
    EXPECT_NEAR(rows[0][colour]["after"]["cv"], rows[1][colour]["after"]["cv"], 2e-4);
    EXPECT_NEAR(rows[0][colour]["after"]["mean"], rows[1][colour]["after"]["mean"], 1e-3);
  }
}

TEST_F(CommandTest, SparseShotsGiveTheSameMeasurements) {
  const fs::path direct = folder_.path() / "direct";
  ASSERT_EQ(Simulate("3x2", {"--primaries"}).exit, 0);
  fs::rename(Job(), direct);
  ASSERT_EQ(Simulate("3x2", {"--primaries", "--shots", "3x3"}).exit, 0);
  const std::vector<std::string> names = FilesWith(direct, ".meter");
  EXPECT_THAT(names, SizeIs(6 * (3 * 4 + 9)));
  EXPECT_THAT(names, ::testing::Contains("p00_red_x_255.meter"));
  for (const std::string& name : names) {
    EXPECT_TRUE(ReadFile(Job() / name) == ReadFile(direct / name)) << name;
  }

  ASSERT_EQ(Simulate("3x2", {"--force"}).exit, 0);
  EXPECT_THAT(FilesWith(Job(), ".meter"), SizeIs(6 * 3 * 4)) << "primaries of the earlier job";
  for (const char* shots : {"3", "0x3", "3x17", "3x3x"}) {
    const Result refused = Simulate("3x2", {"--force", "--shots", shots});
    EXPECT_EQ(refused.exit, 2);
    EXPECT_THAT(refused.err, HasSubstr(std::string("--shots is ") + shots));
  }
}

TEST_F(CommandTest, VerifySaysWhatIsOutOfTolerance) {
  ASSERT_EQ(Simulate().exit, 0);
  ASSERT_EQ(Run({"calibrate", "job/wall.toml"}).exit, 0);
  std::string job = ReadFile(Job() / "wall.toml");
  job.replace(job.find("from_level = 64"), 15, "from_level = 16");
  WriteFile(Job() / "wall.toml", job);
  const Result result = Run({"verify", "job/wall.toml"});
  EXPECT_EQ(result.exit, 5);
  EXPECT_THAT(result.out, HasSubstr("OUT"));
  EXPECT_THAT(result.err, StartsWith("multilayer: error: the corrected wall is out of tolerance"));
}

TEST_F(CommandTest, VerifyNeedsCoefficientsOfTheSameJob) {
  ASSERT_EQ(Simulate().exit, 0);
  EXPECT_EQ(Run({"verify", "job/wall.toml"}).exit, 4);
  ASSERT_EQ(Run({"calibrate", "job/wall.toml"}).exit, 0);
  std::string job = ReadFile(Job() / "wall.toml");
  job.replace(job.find("reach_percentile = 99.9"), 23, "reach_percentile = 50.0");
  WriteFile(Job() / "wall.toml", job);
  const Result other = Run({"verify", "job/wall.toml"});
  EXPECT_EQ(other.exit, 1);
  EXPECT_THAT(other.err, HasSubstr("run multilayer calibrate again"));

  fs::remove(Job() / "truth.toml");
  const Result real = Run({"verify", "job/wall.toml"});
  EXPECT_EQ(real.exit, 4);
  EXPECT_THAT(real.err, HasSubstr("this job is of a real one"));
  EXPECT_EQ(Run({"calibrate", "job/wall.toml"}).exit, 0) << "needs no truth";
}

TEST_F(CommandTest, WrongCalls) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
      {{}, "Usage"},
      {{"frobnicate"}, "frobnicate"},
      {{"simulate"}, "folder is required"},
      {{"simulate", "x", "--partitions", "0x2"}, "--partitions is 0x2: must be COLUMNSxROWS"},
      {{"simulate", "x", "--partitions", "2x2x"}, "--partitions is 2x2x"},
      {{"simulate", "x", "--width", "many"}, "--width"},
      {{"simulate", "x", "--bit-width", "25"}, "--bit-width"},
      {{"simulate", "x", "--levels", "32"}, "capture.levels is [32]: must hold two levels"},
      {{"simulate", "x", "--levels", "32,300"}, "must stay below the number of gray levels"},
      {{"info", "a.png"}, "a.png: must end with .mlcoefs, .meter, "},
      {{"verify", "wall.toml", "--shots", "0"}, "--shots"},
  };
  for (const auto& [arguments, message] : cases) {
    const Result result = Run(arguments);
    EXPECT_EQ(result.exit, 2) << message;
    EXPECT_EQ(result.out, "") << message;
    EXPECT_THAT(result.err, HasSubstr(message));
  }
  EXPECT_FALSE(fs::exists(folder_.path() / "x"));
}

TEST_F(CommandTest, HelpAndVersionAreResults) {
  for (const char* command :
       {"simulate", "calibrate", "verify", "info", "mean", "repair", "align", "points",
        "compute-lum", "compute-chroma", "merge", "combine", "assemble"}) {
    const Result help = Run({command, "--help"});
    EXPECT_EQ(help.exit, 0);
    EXPECT_THAT(help.out, HasSubstr("Example:\n  multilayer " + std::string(command)));
    EXPECT_EQ(help.err, "");
  }
  EXPECT_THAT(Run({"--version"}).out, MatchesRegex("multilayer [0-9.]+\n"));
}

TEST_F(CommandTest, OverwritesOnlyWhatItSimulated) {
  ASSERT_EQ(Simulate().exit, 0);
  const Result again = Simulate();
  EXPECT_EQ(again.exit, 2);
  EXPECT_THAT(again.err, HasSubstr("there is a job already"));
  ASSERT_EQ(Simulate("1x1", {"--force"}).exit, 0);
  EXPECT_THAT(FilesWith(Job(), ".meter"), SizeIs(3 * 4)) << "the six partitions are gone";
  fs::remove(Job() / "truth.toml");
  EXPECT_EQ(Simulate("1x1", {"--force"}).exit, 2) << "a real job";
}

TEST_F(CommandTest, BrokenAndMissingFiles) {
  ASSERT_EQ(Simulate().exit, 0);
  const fs::path meter = Job() / "p01_green_064.meter";
  const std::string bytes = ReadFile(meter);

  WriteFile(meter, bytes.substr(0, 1000));
  const Result cut = Run({"calibrate", "job/wall.toml"});
  EXPECT_EQ(cut.exit, 3);
  EXPECT_THAT(cut.err, HasSubstr("p01_green_064.meter: byte "));
  const Result info = Run({"info", "job/p01_green_064.meter", "job/none.meter"});
  EXPECT_EQ(info.exit, 4) << "the worst of both";
  EXPECT_THAT(info.out, HasSubstr("BROKEN: byte "));
  EXPECT_THAT(info.err, AllOf(HasSubstr("the file ends after 1000 bytes"),
                              HasSubstr("none.meter: cannot be opened")));

  fs::copy_file(Job() / "p01_red_064.meter", meter, fs::copy_options::overwrite_existing);
  const Result swapped = Run({"calibrate", "job/wall.toml"});
  EXPECT_EQ(swapped.exit, 3);
  EXPECT_THAT(swapped.err, HasSubstr("color is 4: the job expects 2"));

  fs::copy_file(Job() / "p00_green_064.meter", meter, fs::copy_options::overwrite_existing);
  EXPECT_THAT(Run({"calibrate", "job/wall.toml"}).err, HasSubstr("must cover the same LEDs"));

  fs::remove(meter);
  EXPECT_EQ(Run({"calibrate", "job/wall.toml"}).exit, 4);
  EXPECT_EQ(Run({"calibrate", "none.toml"}).exit, 4);
}

TEST_F(CommandTest, FailedWritesLeaveNothingBehind) {
  Surroundings small;
  small.file_size_limit = 4096;
  const Result simulated = testing::Run(folder_.path(), {"simulate", "job"}, small);
  EXPECT_EQ(simulated.exit, 4);
  EXPECT_THAT(simulated.err, HasSubstr("bytes could be written: is the disk full?"));
  EXPECT_THAT(FilesWith(folder_.path(), ""), IsEmpty());

  ASSERT_EQ(Simulate().exit, 0);
  ASSERT_EQ(Run({"calibrate", "job/wall.toml"}).exit, 0);
  const std::string before = ReadFile(Job() / "p00.mlcoefs");
  std::string job = ReadFile(Job() / "wall.toml");
  job.replace(job.find("reach_percentile = 99.9"), 23, "reach_percentile = 50.0");
  WriteFile(Job() / "wall.toml", job);
  EXPECT_EQ(Run({"calibrate", "job/wall.toml"}, small).exit, 4);
  EXPECT_EQ(ReadFile(Job() / "p00.mlcoefs"), before) << "the old calibration is still there";
  EXPECT_THAT(FilesWith(Job(), "tmp"), IsEmpty());

  small.file_size_limit = 25000;  // enough for the coefficients, not for the pictures of verify
  EXPECT_EQ(Run({"calibrate", "job/wall.toml", "--images"}, small).exit, 0);
  EXPECT_EQ(Run({"verify", "job/wall.toml", "--pictures"}, small).exit, 4);
  EXPECT_THAT(FilesWith(Job(), ".png"), SizeIs(6 * 3 * 4));
}

TEST_F(CommandTest, AnInterruptedRunLeavesNoHalfFile) {
  Surroundings impatient;
  for (impatient.kill_after_ms = 20; impatient.kill_after_ms < 400; impatient.kill_after_ms += 60) {
    fs::remove_all(Job());
    const Result result = Run({"simulate", "job", "--width", "1200", "--height", "800"}, impatient);
    EXPECT_EQ(result.signal, SIGTERM);
    if (fs::exists(Job())) {
      EXPECT_THAT(FilesWith(Job(), "tmp"), IsEmpty());
      EXPECT_FALSE(fs::exists(Job() / "wall.toml"));
      for (const std::string& name : FilesWith(Job(), ".meter")) {
        EXPECT_EQ(Run({"info", "job/" + name}).exit, 0) << name;
      }
    }
  }
}

TEST_F(CommandTest, AFullStandardOutputIsAnError) {
  Surroundings full;
  full.standard_output = "/dev/full";
  const Result result = Run({"--help"}, full);
  EXPECT_EQ(result.exit, 4);
  EXPECT_THAT(result.err, HasSubstr("standard output: cannot be written: No space left on device"));
}

}  // namespace
}  // namespace multilayer::testing

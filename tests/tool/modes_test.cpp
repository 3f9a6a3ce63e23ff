// The modes of calibrate from end to end: the iterations on a simulated wall, and what verify makes
// of their coefficients.
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
using ::testing::StartsWith;

// Two partitions of 80 x 24 LEDs, each on a module of its own: their means differ by percents.
class ModesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(Run({"simulate", "job", "--width", "160", "--height", "24", "--partitions", "2x1",
                   "--levels", "64,128,255", "--coef-layers", "4"})
                  .exit,
              0);
  }
  Result Run(const std::vector<std::string>& arguments) {
    return testing::Run(folder_.path(), arguments);
  }
  Result Calibrate(std::vector<std::string> more) {
    more.insert(more.begin(), {"calibrate", "job/wall.toml"});
    return Run(more);
  }
  // The report on the coefficients in job/`output`.
  nlohmann::json Verify(const std::string& output) {
    const Result result = Run({"verify", "job/wall.toml", "--coefficients", "job/" + output,
                               "--json", "--levels", "64,128,255"});
    EXPECT_EQ(result.exit, 0) << result.err;
    return nlohmann::json::parse(result.out);
  }
  fs::path Job() const { return folder_.path() / "job"; }
  void ReplaceInJob(const std::string& what, const std::string& by) {
    std::string job = ReadFile(Job() / "wall.toml");
    job.replace(job.find(what), what.size(), by);
    WriteFile(Job() / "wall.toml", job);
  }

  TemporaryFolder folder_;
};

TEST_F(ModesTest, IterationMakesTheLuminanceEvenInAnyOrder) {
  for (const char* order : {"64,128,255", "255,64,128"}) {
    SCOPED_TRACE(order);
    const Result result =
        Calibrate({"--mode", "iterate", "--order", order, "--output", "job/iterate"});
    ASSERT_EQ(result.exit, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("Mode: iterate; levels in the order "));
    const nlohmann::json json = Verify("iterate");
    EXPECT_EQ(json["mode"], "iterate");
    for (const auto& row : json["rows"]) {
      EXPECT_GT(row["before"]["cv"], 0.03);
      EXPECT_LT(row["after"]["cv"], 0.0025);
      // The first level sets the mean of all; the turn-on time parts them by a percent.
      EXPECT_NEAR(row["after"]["mean_over_target"], 1, 0.015);
    }
  }
}

TEST_F(ModesTest, WhiteBalanceReachesTheTarget) {
  for (const char* primaries : {"measured", "mean"}) {
    SCOPED_TRACE(primaries);
    const Result result = Calibrate({"--mode", "white", "--primaries", primaries, "--order",
                                     "128,255,64", "--output", "job/white"});
    ASSERT_EQ(result.exit, 0) << result.err;
    EXPECT_THAT(result.out, AllOf(HasSubstr("Mode: white, " + std::string(primaries)),
                                  HasSubstr("(x 0.3127, y 0.3290)")));
    const nlohmann::json json = Verify("white");
    EXPECT_EQ(json["mode"], "white");
    ASSERT_EQ(json["rows"].size(), 3U);
    for (const auto& row : json["rows"]) {
      EXPECT_GT(row["before"]["to_target"]["p95"], 0.01);
      EXPECT_LT(row["after"]["to_target"]["p95"], 0.0015);
      EXPECT_GT(row["after"]["to_target"]["p95"], 0.0005) << "the noise of a photograph";
      EXPECT_LT(row["after"]["modules"]["apart"], 0.0005);
      EXPECT_NEAR(row["after"]["luminance"]["mean_over_target"], 1, 0.002);
    }
  }
}

TEST_F(ModesTest, AnOwnWhiteIsTheTarget) {
  ReplaceInJob("#xyz = [600.0, 630.0, 690.0]", "xyz = [620.0, 600.0, 500.0]");
  const Result result = Calibrate({"--mode", "white", "--output", "job/white"});
  EXPECT_THAT(result.out, HasSubstr("X 620.00, Y 600.00 cd/m^2, Z 500.00"));
  EXPECT_TRUE(Verify("white")["passed"]);

  ReplaceInJob("white_p95 = 0.0015", "white_p95 = 0.0005");
  const Result strict =
      Run({"verify", "job/wall.toml", "--coefficients", "job/white", "--levels", "128"});
  EXPECT_EQ(strict.exit, 5);
  EXPECT_THAT(strict.err, HasSubstr("out of tolerance at gray 128 (p95 0.0"));

  ReplaceInJob("\nxyz = [620.0", "\nxyz = [630.0");
  const Result other = Run({"verify", "job/wall.toml", "--coefficients", "job/white"});
  EXPECT_EQ(other.exit, 1);
  EXPECT_THAT(other.err, HasSubstr("calibration.toml: was computed for another job"));
}

// Coefficients of one mode under the record of another, as an interrupted run may leave them.
TEST_F(ModesTest, VerifyRefusesCoefficientsOfAnotherMode) {
  ASSERT_EQ(Calibrate({}).exit, 0);
  ASSERT_EQ(Calibrate({"--mode", "white", "--output", "job/white"}).exit, 0);
  fs::copy_file(Job() / "p00.mlcoefs", Job() / "white" / "p00.mlcoefs",
                fs::copy_options::overwrite_existing);
  const Result result = Run({"verify", "job/wall.toml", "--coefficients", "job/white"});
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("p00.mlcoefs: was computed for another job"));
}

// Photographed, measured and stepped by calls of their own, one of which is interrupted: the files
// of a step with their own names, of which only some got the last one.
TEST_F(ModesTest, StepByStepGivesTheSameBytes) {
  for (const char* mode : {"iterate", "white"}) {
    SCOPED_TRACE(mode);
    const std::vector<std::string> call = {"--mode", mode, "--order", "128,64,255", "--output"};
    const auto calibrate = [&](std::vector<std::string> more) {
      more.insert(more.begin(), call.begin(), call.end());
      return Calibrate(more);
    };
    ASSERT_EQ(calibrate({"job/whole"}).exit, 0);
    fs::remove_all(Job() / "steps");
    const Result first = calibrate({"job/steps", "--step"});
    EXPECT_THAT(first.out, AllOf(StartsWith("Next, step 0 of 0 to 3: show gray 128 uncorrected"),
                                 HasSubstr("_128_step0.meter")));
    for (const char* level : {"128", "64", "255", ""}) {
      const Result step = calibrate({"job/steps", "--step", "--simulate"});
      ASSERT_EQ(step.exit, 0) << step.err;
      EXPECT_THAT(step.out,
                  HasSubstr(*level == 0 ? "All steps are done."
                                        : "show gray " + std::string(level) + " through"));
      if (std::string(level) == "64") {
        fs::rename(Job() / "steps" / "p00.mlcoefs", Job() / "steps" / "p00.step2.mlcoefs");
      }
    }
    for (const char* name : {"p00.mlcoefs", "p01.mlcoefs"}) {
      EXPECT_TRUE(ReadFile(Job() / "steps" / name) == ReadFile(Job() / "whole" / name)) << name;
    }
    EXPECT_EQ(FilesWith(Job() / "steps", "").size(), 3U);
    EXPECT_TRUE(Verify("steps")["passed"]);
    EXPECT_EQ(calibrate({"job/steps", "--step"}).exit, 2) << "all steps are done";
  }
}

// A real wall has no truth, and its measurements come from elsewhere.
TEST_F(ModesTest, StepsOnMeasuredFilesNeedNoTruth) {
  const std::vector<std::string> call = {"--mode", "white", "--step"};
  ASSERT_EQ(Calibrate({"--mode", "white", "--step", "--simulate"}).exit, 0);
  const std::string simulated = ReadFile(Job() / "p01.mlcoefs");
  fs::remove(Job() / "calibration.toml");
  fs::remove(Job() / "truth.toml");
  const Result step = Calibrate(call);
  ASSERT_EQ(step.exit, 0) << step.err;
  EXPECT_TRUE(ReadFile(Job() / "p01.mlcoefs") == simulated);

  EXPECT_EQ(Calibrate({"--mode", "white", "--step", "--simulate"}).exit, 2);
  const Result other = Calibrate({"--mode", "iterate", "--step"});
  EXPECT_EQ(other.exit, 2);
  EXPECT_THAT(other.err, HasSubstr("another iteration is under way, in the mode white"));

  fs::copy_file(Job() / "p00_white_x_064_step0.meter", Job() / "p00_white_x_064_step1.meter");
  const Result incomplete = Calibrate(call);
  EXPECT_EQ(incomplete.exit, 4);
  EXPECT_THAT(incomplete.err, HasSubstr("p00_white_y_064_step1.meter: cannot be opened"));
  EXPECT_TRUE(ReadFile(Job() / "p01.mlcoefs") == simulated) << "the state is that of step 0";
}

TEST_F(ModesTest, RefusesWhatItCannotDo) {
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{"--mode", "colour"}, "--mode"},
      {{"--order", "64,128,255"}, "norm has no steps"},
      {{"--mode", "iterate", "--order", "64,255"}, "--order must name each captured level once"},
      {{"--step"}, "--step is for the modes iterate and white"},
      {{"--mode", "iterate", "--simulate"}, "--simulate requires --step"},
      {{"--mode", "iterate", "--primaries", "mean"}, "--primaries is for the mode white"},
  };
  for (const auto& [arguments, message] : cases) {
    const Result result = Calibrate(arguments);
    EXPECT_EQ(result.exit, 2) << message;
    EXPECT_THAT(result.err, HasSubstr(message));
  }
  ReplaceInJob("chromaticity = [0.3127, 0.329]", "chromaticity = [0.1, 0.8]");
  const Result beyond = Calibrate({"--mode", "white"});
  EXPECT_EQ(beyond.exit, 1);
  EXPECT_THAT(beyond.err, HasSubstr("its primaries cannot mix the target white"));

  fs::remove(Job() / "truth.toml");
  for (const char* mode : {"iterate", "white"}) {
    const Result real = Calibrate({"--mode", mode});
    EXPECT_EQ(real.exit, 2);
    EXPECT_THAT(real.err, HasSubstr("this job is of a real one"));
  }
  EXPECT_THAT(FilesWith(Job(), ".mlcoefs"), IsEmpty());
}

}  // namespace
}  // namespace multilayer::testing

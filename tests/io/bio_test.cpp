// Single matrices, text matrices and name lists: bytes, odd files, and forged ones.
#include "multilayer/io/bio.h"

#include <locale>

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include "tests/golden/images.h"
#include "tests/support/allocation_meter.h"
#include "tests/support/log_recorder.h"
#include "tests/support/meters.h"

namespace multilayer {
namespace {

using testing::AllocationMeter;
using ::testing::ElementsAre;
using testing::Hex;
using testing::Image;
using ::testing::IsEmpty;
using testing::LogRecorder;
using testing::ReadFile;
using testing::SameBits;
using testing::TempFolder;
using testing::WithWord;
using testing::WriteFile;

// 2 x 2 elements of three bytes: the example of docs/formats.md.
constexpr std::string_view kThreeChannels =
    "4C 02000000 02000000 10000000 03000000  0104070A 0205080B 0306090C";
cv::Mat ThreeChannels() {
  const cv::Mat_<uint8_t> bytes = (cv::Mat_<uint8_t>(2, 6) << 1, 2, 3, 4, 5, 6,  //
                                   7, 8, 9, 10, 11, 12);
  return bytes.reshape(3);
}

class Bio : public ::testing::Test {
 protected:
  std::string Text(const std::string& text) {
    WriteFile(fullname_, {text.begin(), text.end()});
    return fullname_;
  }
  // Loads `image` over a matrix of one LED of 7.
  cv::Mat LoadBin(const Image& image) {
    WriteFile(fullname_, image);
    cv::Mat mat(1, 1, CV_8UC1, cv::Scalar(7));
    EXPECT_TRUE(BIO::LoadBinToMat(fullname_, mat));
    return mat;
  }

  const TempFolder folder_;
  const std::string fullname_ = folder_ / "file";
  const cv::Mat before_ = cv::Mat(1, 1, CV_8UC1, cv::Scalar(7));
  LogRecorder log_;
};

TEST_F(Bio, ABinaryMatrixHasItsBytesAndReadsBack) {
  const std::pair<cv::Mat, Image> cases[] = {{cv::Mat(), Image{'L'}},
                                             {ThreeChannels(), Hex(kThreeChannels)}};
  for (auto [mat, image] : cases) {
    image.resize(std::max(image.size(), size_t{17}));  // an empty header is all zeros
    WriteFile(fullname_, Image(100, 0xEE));
    EXPECT_TRUE(BIO::SaveMatToBin(fullname_, mat));
    EXPECT_EQ(ReadFile(fullname_), image);
    EXPECT_TRUE(SameBits(LoadBin(image), mat));
  }
  EXPECT_THAT(log_.TakeErrors(), IsEmpty());
  EXPECT_THAT(log_.TakeInfos(), IsEmpty());
}

TEST_F(Bio, ABinaryMatrixIsLeftAloneOrFilledUp) {
  const Image sound = Hex(kThreeChannels);
  Image other_mark = sound;
  other_mark[0] = 'B';
  EXPECT_TRUE(SameBits(LoadBin(other_mark), before_));
  EXPECT_TRUE(SameBits(LoadBin({}), before_));
  EXPECT_THAT(log_.TakeErrors(), IsEmpty());

  EXPECT_TRUE(SameBits(LoadBin(WithWord(sound, 13, 513)), before_)) << "513 channels";
  EXPECT_THAT(log_.TakeErrors(),
              ElementsAre("BIO::LoadBinToMat -- Error data in file: a header that no valid file "
                          "can carry."));

  cv::Mat filled = ThreeChannels();
  filled.at<cv::Vec3b>(1, 1)[2] = 0;
  EXPECT_TRUE(SameBits(LoadBin({sound.begin(), sound.end() - 1}), filled));
  EXPECT_THAT(log_.TakeErrors(), IsEmpty()) << "no failure";
  EXPECT_THAT(log_.TakeInfos(),
              ElementsAre("BIO::LoadBinToMat -- Data ends early, missing values are 0."));
}

TEST_F(Bio, AForgedBinaryMatrixTakesNoMoreMemoryThanItsLengthJustifies) {
  const Image sound = Hex(kThreeChannels);
  std::vector<Image> forged;
  for (size_t length = 0; length < sound.size(); ++length) {
    forged.emplace_back(sound.begin(), sound.begin() + static_cast<ptrdiff_t>(length));
  }
  for (size_t offset = 0; offset + 4 <= sound.size(); ++offset) {
    for (const int32_t value : {INT32_MIN, -8, -1, 0, 512, 4096, 1 << 24, INT32_MAX}) {
      forged.push_back(WithWord(sound, offset, value));
    }
  }
  for (const Image& image : forged) {
    const AllocationMeter meter;
    LoadBin(image);
    EXPECT_LE(meter.peak(), 4 * image.size() + (16U << 20)) << ::testing::PrintToString(image);
    EXPECT_LE(log_.TakeErrors().size(), 1U);
  }
}

TEST_F(Bio, AFileThatCannotBeOpenedIsNamedAndChangesNothing) {
  cv::Mat mat = before_;
  std::vector<std::string> list = {"kept"};
  const std::string missing = folder_ / "missing";
  const std::string folder = folder_ / ".";
  EXPECT_FALSE(BIO::SaveMatToBin(folder, mat));
  EXPECT_FALSE(BIO::LoadBinToMat(missing, mat));
  EXPECT_FALSE(BIO::LoadTxtToMat(folder, {1, 1}, mat));
  EXPECT_FALSE(BIO::ReadFullNameListTxt(missing, list));
  EXPECT_THAT(
      log_.TakeErrors(),
      ElementsAre("BIO::SaveMatToBin -- Failed to Open file. fullname = " + folder,
                  "BIO::LoadBinToMat -- Failed to Open file. fullname = " + missing,
                  "BIO::LoadTxtToMat -- Failed to Open file. fullname = " + folder,
                  "BIO::ReadFullNameListTxt -- Failed to Open file. fullname = " + missing));
  EXPECT_TRUE(SameBits(mat, before_));
  EXPECT_THAT(list, ElementsAre("kept"));
}

// The decimal comma of a host's language.
struct Comma : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
};

TEST_F(Bio, ATextMatrixHoldsTheNumbersUpToTheFirstThatIsNone) {
  const struct {
    const char* text;
    std::vector<float> values;  // three columns, two rows
    const char* read;           // how many, if not all
  } cases[] = {
      {"\r\n1\t2\r\n\v3 4\f5\n\n6 7", {1, 2, 3, 4, 5, 6}, nullptr},
      {"+1 -2.5 .5 5. 1e2 1E-2", {1, -2.5F, 0.5F, 5, 100, 0.01F}, nullptr},
      {"1 2 3 4 5", {1, 2, 3, 4, 5, 0}, "5"},
      {"1 2 x 4 5 6", {1, 2, 0, 0, 0, 0}, "2"},
      {"1,5 2", {1, 0, 0, 0, 0, 0}, "1"},
      {"1 1e99 3 4 5 6", {1, 0, 0, 0, 0, 0}, "1"},
      {"nan", {0, 0, 0, 0, 0, 0}, "0"},
      {"", {0, 0, 0, 0, 0, 0}, "0"},
  };
  const std::locale host = std::locale::global(std::locale(std::locale(), new Comma));
  for (const auto& [text, values, read] : cases) {
    SCOPED_TRACE(text);
    cv::Mat mat = before_;
    EXPECT_TRUE(BIO::LoadTxtToMat(Text(text), {3, 2}, mat));
    EXPECT_TRUE(SameBits(mat, cv::Mat(values).reshape(1, 2)));
    const std::vector<std::string> infos = log_.TakeInfos();
    EXPECT_EQ(infos.size(), read == nullptr ? 0U : 1U);
    if (read != nullptr && !infos.empty()) {
      EXPECT_EQ(infos[0], std::string("BIO::LoadTxtToMat -- ") + read +
                              " of 6 values read, the others are 0.");
    }
  }
  std::locale::global(host);
  EXPECT_THAT(log_.TakeErrors(), IsEmpty());
}

TEST_F(Bio, ATextMatrixHasTheSizeThatTheCallerNames) {
  cv::Mat mat = before_;
  for (const cv::Size size : {cv::Size(-1, 2), cv::Size(2, -1), cv::Size(1 << 15, 1 << 14)}) {
    EXPECT_TRUE(BIO::LoadTxtToMat(Text("1 2"), size, mat));
    EXPECT_EQ(log_.TakeErrors().size(), 1U) << size;
    EXPECT_TRUE(SameBits(mat, before_));
  }
  EXPECT_TRUE(BIO::LoadTxtToMat(Text("1 2"), {0, 2}, mat));
  EXPECT_TRUE(mat.empty());
  // One endless number: beside the matrix, no more than four times the file.
  const AllocationMeter meter;
  constexpr size_t kLength = (8U << 20) + 1;
  EXPECT_TRUE(BIO::LoadTxtToMat(Text(std::string(kLength, '1')), {1, 1}, mat));
  EXPECT_LE(meter.peak(), 4 * kLength + (16U << 20));
}

TEST_F(Bio, ANameListIsAppendedLineByLine) {
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {"a.meter\nb.meter\n", {"a.meter", "b.meter"}},
      {"a\r\n\r\n b \nc", {"a", "", " b ", "c"}},
      {"\n\n", {"", ""}},
      {"", {}},
  };
  for (const auto& [text, names] : cases) {
    std::vector<std::string> list = {"kept"};
    EXPECT_TRUE(BIO::ReadFullNameListTxt(Text(text), list));
    EXPECT_TRUE(BIO::ReadFullNameListTxt(fullname_, list));
    std::vector<std::string> expected = {"kept"};
    expected.insert(expected.end(), names.begin(), names.end());
    expected.insert(expected.end(), names.begin(), names.end());
    EXPECT_EQ(list, expected) << text;
  }
}

}  // namespace
}  // namespace multilayer

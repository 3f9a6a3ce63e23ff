// docs/formats.md: its examples are the golden images, and its program reads what the library
// wrote.
#include <array>
#include <cstdio>

#include <gtest/gtest.h>

#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "tests/golden/images.h"
#include "tests/support/log_recorder.h"

namespace multilayer {
namespace {

using testing::FullMeterImage;
using testing::Hex;
using testing::Image;
using testing::kCoefficientImage;
using testing::ReadFile;
using testing::TempFolder;
using testing::WriteFile;

std::string Page() {
  const Image bytes = ReadFile(FORMATS_PAGE);
  return {bytes.begin(), bytes.end()};
}

// The blocks of the page that are fenced as `language`.
std::vector<std::string> Blocks(const std::string& language) {
  const std::string page = Page();
  const std::string fence = "```" + language + "\n";
  std::vector<std::string> blocks;
  for (size_t at = page.find(fence); at != std::string::npos; at = page.find(fence, at)) {
    at += fence.size();
    blocks.push_back(page.substr(at, page.find("```", at) - at));
  }
  return blocks;
}

Image WithoutRemarks(const std::string& block) {
  std::string digits;
  bool remark = false;
  for (const char c : block) {
    remark = c == '#' || (remark && c != '\n');
    digits += remark ? ' ' : c;
  }
  return Hex(digits);
}

TEST(FormatsPage, ItsExamplesAreTheGoldenImages) {
  const std::vector<std::string> examples = Blocks("hex");
  ASSERT_EQ(examples.size(), 2U);
  EXPECT_EQ(WithoutRemarks(examples[0]), Hex(kCoefficientImage));
  EXPECT_EQ(WithoutRemarks(examples[1]), FullMeterImage());
  for (const Image& image : {Hex(kCoefficientImage), FullMeterImage()}) {
    EXPECT_NE(Page().find(": " + std::to_string(image.size()) + " bytes."), std::string::npos)
        << "the page gives another length";
  }
}

TEST(FormatsPage, ItsProgramReadsAFileOfTheLibrary) {
#ifndef PYTHON
  GTEST_SKIP() << "no Python found";
#else
  const std::vector<std::string> programs = Blocks("python");
  const std::vector<std::string> outputs = Blocks("text");
  ASSERT_TRUE(programs.size() == 1 && outputs.size() == 1);
  const TempFolder folder;
  const std::string program = folder / "read_mlcoefs.py";
  const std::string file = folder / "a.mlcoefs";
  WriteFile(program, Image(programs[0].begin(), programs[0].end()));
  MultiLayerCoeff engine;
  const Image image = Hex(kCoefficientImage);
  ASSERT_EQ(engine.FromBuffer(image.data(), image.size()), 0);
  ASSERT_EQ(engine.Save(file), 0);

  const std::string command = std::string("\"") + PYTHON + "\" '" + program + "' '" + file + "'";
  std::FILE* pipe = popen(command.c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  std::string output;
  for (std::array<char, 256> line; std::fgets(line.data(), line.size(), pipe) != nullptr;) {
    output += line.data();
  }
  EXPECT_EQ(pclose(pipe), 0);
  EXPECT_EQ(output, outputs[0]);
#endif
}

}  // namespace
}  // namespace multilayer

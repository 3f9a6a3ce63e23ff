// Files and buffers of the single-layer sets: golden bytes, and what each class calls itself.
#include <gmock/gmock.h>

#include "tests/coeff/sets.h"
#include "tests/golden/images.h"
#include "tests/support/log_recorder.h"

namespace multilayer::testing {
namespace {

using ::testing::ElementsAre;

// The set of the golden images: plane k, from 1, holds (k, 0.5).
template <class Set>
Set GoldenSet() {
  Set set;
  float first = 1;
  for (cv::Mat* plane : PlanesOf(set)) {
    *plane = (cv::Mat_<float>(1, 2) << first++, 0.5F);
  }
  set.part = {1, 2, 2, 1, 8, -1};
  return set;
}

template <class Set>
void ExpectFiles(const std::string& name, const std::string& extension, const Image& golden,
                 size_t fresh_size) {
  const TempFolder folder;
  const std::string path = folder / ("a" + extension);
  const std::string missing = folder / ("no/a" + extension);
  Set set = GoldenSet<Set>();
  Set read;
  uint64_t size = 0;
  EXPECT_EQ(ImageOf(read).size(), fresh_size);
  LogRecorder log;
  EXPECT_EQ(ImageOf(set), golden);
  EXPECT_EQ(set.Save(path), 0);
  EXPECT_EQ(ReadFile(path), golden);
  EXPECT_EQ(set.GetBufferSize(&size), 0);
  EXPECT_EQ(size, golden.size());
  EXPECT_EQ(read.Load(path), 0);
  EXPECT_EQ(ImageOf(read), golden);
  EXPECT_THAT(log.TakeInfos(),
              ElementsAre(name + "::ToBuffer", name + "::Save", name + "::GetBufferSize",
                          name + "::Load", name + "::ToBuffer"));
  WriteFile(path, Hex("4D 01000000"));
  EXPECT_EQ(set.Save(path + "x"), 8);
  EXPECT_EQ(set.Save(missing), 4);
  EXPECT_EQ(set.Load(path + "x"), 8);
  EXPECT_EQ(set.Load(missing), 2);
  EXPECT_EQ(set.Load(path), 10);
  EXPECT_EQ(set.FromBuffer(golden.data(), 4), 3);
  EXPECT_THAT(log.TakeErrors(),
              ElementsAre(name + "::Save--Error :: ext filename mismatch.",
                          name + "::Save -- Failed to Open file. fullname = " + missing,
                          name + "::Load--Error :: ext filename mismatch.",
                          name + "::Load -- Failed to Open file. fullname = " + missing,
                          name + "::Load -- Error file endianness.",
                          name + "::FromBuffer -- Error version in file."));
  // One empty plane makes an empty set, which is written as it stands.
  PlanesOf(set).back()->release();
  EXPECT_EQ(set.GetBufferSize(&size), 5);
  EXPECT_EQ(ImageOf(set).size(), golden.size() - 8);
}

TEST(CoeffFile, Luminance) { ExpectFiles<LumCoeff>("LumCoeff", ".lumcoeff", Hex(kLumImage), 77); }

TEST(CoeffFile, Chroma) {
  ExpectFiles<ChromaCoeff>("ChromaCoeff", ".chromacoeff", Hex(kChromaImage), 173);
}

}  // namespace
}  // namespace multilayer::testing

// Byte streams: counting, memory and file agree; nothing is read that is not there.
#include "multilayer/io/byte_stream.h"

#include <cstring>

#include "tests/io/sources.h"

namespace multilayer {
namespace {

using testing::File;
using testing::Hex;
using testing::Image;
using testing::OnBothSources;
using testing::ReadFile;
using testing::TempFolder;
using testing::WriteFile;

void WriteSome(ByteWriter& writer) {
  writer.Put(uint8_t{0x4C});
  writer.Put(int32_t{-2});
  writer.Put(0.5);
  writer.Bytes("abc", 3);
  writer.Bytes(nullptr, 0);
}

const Image kSome = Hex("4C FEFFFFFF 000000000000E03F 616263");

TEST(ByteWriter, CountsWhatItWritesToMemoryAndToAFile) {
  ByteWriter counter;
  WriteSome(counter);
  EXPECT_TRUE(counter.counts_only());
  EXPECT_EQ(counter.size(), kSome.size());

  Image memory(kSome.size());
  ByteWriter to_memory(memory.data());
  WriteSome(to_memory);
  EXPECT_FALSE(to_memory.counts_only());
  EXPECT_EQ(to_memory.size(), kSome.size());
  EXPECT_EQ(memory, kSome);

  const TempFolder folder;
  File file(std::fopen((folder / "stream").c_str(), "wb"));
  ByteWriter to_file(file.get());
  WriteSome(to_file);
  file.reset();
  EXPECT_EQ(to_file.size(), kSome.size());
  EXPECT_EQ(ReadFile(folder / "stream"), kSome);
}

TEST(ByteReader, ReadsWhatWasWritten) {
  OnBothSources(kSome, [](ByteReader& reader) {
    uint8_t mark = 0;
    int32_t number = 0;
    double real = 0;
    char text[3] = {};
    EXPECT_TRUE(reader.Get(mark) && reader.Get(number) && reader.Get(real));
    EXPECT_EQ(reader.remaining(), 3U);
    reader.Bytes(text, 3, 1);
    EXPECT_EQ(mark, 0x4C);
    EXPECT_EQ(number, -2);
    EXPECT_EQ(real, 0.5);
    EXPECT_EQ(std::memcmp(text, "abc", 3), 0);
    EXPECT_FALSE(reader.ended_early());
    EXPECT_EQ(reader.remaining(), 0U);
  });
}

TEST(ByteReader, AValueCutShortIsZeroAndSoIsEverythingBehindIt) {
  OnBothSources(Hex("FFFFFF"), [](ByteReader& reader) {
    int32_t number = 7;
    uint8_t byte = 7;
    EXPECT_FALSE(reader.Get(number));
    EXPECT_EQ(number, 0);
    EXPECT_FALSE(reader.Get(byte)) << "the three bytes are spent";
    EXPECT_EQ(byte, 0);
    EXPECT_TRUE(reader.ended_early());
    EXPECT_FALSE(reader.refused());
  });
}

TEST(ByteReader, ABlockCutShortKeepsItsWholeValues) {
  OnBothSources(Hex("0102 0304 05"), [](ByteReader& reader) {
    uint8_t values[8];
    std::memset(values, 0xEE, sizeof values);
    reader.Bytes(values, sizeof values, 2);
    EXPECT_EQ(Image(values, values + 8), Hex("0102 0304 0000 0000"));
    EXPECT_TRUE(reader.ended_early());
  });
}

// A file that shrank after its length was taken.
TEST(ByteReader, AFileShorterThanPromisedEndsEarly) {
  const TempFolder folder;
  WriteFile(folder / "stream", Hex("0102 03"));
  const File file(std::fopen((folder / "stream").c_str(), "rb"));
  ByteReader reader(file.get(), 100);
  uint8_t values[6];
  reader.Bytes(values, sizeof values, 2);
  EXPECT_EQ(Image(values, values + 6), Hex("0102 0000 0000"));
  EXPECT_TRUE(reader.ended_early());
  EXPECT_EQ(reader.remaining(), 0U);
}

TEST(ByteReader, ARefusedStreamReadsAsZero) {
  OnBothSources(kSome, [](ByteReader& reader) {
    reader.Refuse();
    uint8_t mark = 7;
    EXPECT_FALSE(reader.Get(mark));
    EXPECT_EQ(mark, 0);
    EXPECT_TRUE(reader.refused());
  });
}

TEST(ByteReader, ClaimsAddUpToFourTimesTheLengthAndAFixedPart) {
  constexpr uint64_t kFixed = uint64_t{15} << 20;
  const Image bytes(1000);
  OnBothSources(bytes, [&](ByteReader& reader) {
    EXPECT_TRUE(reader.Claim(kFixed));
    EXPECT_TRUE(reader.Claim(3999));
    EXPECT_TRUE(reader.Claim(1));
    EXPECT_FALSE(reader.refused());
    EXPECT_FALSE(reader.Claim(1));
    EXPECT_TRUE(reader.refused());
    EXPECT_EQ(reader.remaining(), 0U);
  });
  ByteReader huge(bytes.data(), UINT64_MAX);
  EXPECT_TRUE(huge.Claim(UINT64_MAX)) << "four times the length does not wrap around";
}

}  // namespace
}  // namespace multilayer

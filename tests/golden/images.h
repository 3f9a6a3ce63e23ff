// Byte images written out by hand from the tables of docs/formats.md, and files to keep them in.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

namespace multilayer::testing {

using Image = std::vector<uint8_t>;

// The bytes of hexadecimal digits; blanks between them are for the reader.
inline Image Hex(std::string_view text) {
  Image bytes;
  std::string digits;
  for (const char c : text) {
    if (std::isxdigit(static_cast<unsigned char>(c)) != 0) {
      digits += c;
    }
    if (digits.size() == 2) {
      bytes.push_back(static_cast<uint8_t>(std::stoi(digits, nullptr, 16)));
      digits.clear();
    }
  }
  EXPECT_TRUE(digits.empty()) << "half a byte in a golden image";
  return bytes;
}

// Two coefficient layers of one row of two LEDs: the worked example of docs/formats.md.
inline constexpr std::string_view kCoefficientImage = R"(
4C 01000000
02000000 03000000 02000000 01000000 08000000 06000000
01000000 02000000 10000000
000000000000E03F 000000000000D03F 0000000000000000
03000000 02000000 04000000 01000000
64000000 FFFF0000 64000000 FFFF0000 64000000 FFFF0000
01000000 02000000 05000000 01000000 0000803F 0000C03F
01000000 02000000 05000000 01000000 0000003F 00000040
01000000 02000000 05000000 01000000 0000403F 0000A03F
01000000 02000000 05000000 01000000 00004040 00008040
01000000 02000000 05000000 01000000 0000A040 0000C040
01000000 02000000 05000000 01000000 000080BF 0000003E
)";

// A measurement of two LEDs with all four metadata records, in parts: the worked example of
// docs/formats.md.
inline constexpr std::string_view kMeterHead = R"(
4C 01000000
04000000 02000000
01000000 02000000 00000000 01000000 02 03
01000000 02000000 0D000000 02000000 0000C03F 00004040 00000040 00008040
01000000 02000000 05000000 01000000 0000803E 0000C842
)";
inline constexpr std::string_view kMeterPart =
    "04000000 02000000 03000000 02000000 01000000 08000000 06000000\n";
inline constexpr std::string_view kMeterPanel =
    "08000000 01000000 02000000 03000000 08000000 06000000 0000003F\n";
inline constexpr std::string_view kMeterLayer = "10000000 01000000 0000803E 80000000\n";
inline constexpr std::string_view kMeterCapture =
    "02000000 0A000000 0B000000 0C000000 0D000000 0E000000\n";
inline constexpr std::string_view kMeterEnd = "FFFFFFFF\n";

inline Image Concat(std::initializer_list<std::string_view> parts) {
  std::string text;
  for (const std::string_view part : parts) {
    text += part;
  }
  return Hex(text);
}

inline Image FullMeterImage() {
  return Concat({kMeterHead, kMeterPart, kMeterPanel, kMeterLayer, kMeterCapture, kMeterEnd});
}

// Sets of two LEDs: of their planes 1, 2, ... plane k holds (k, 0.5).
inline constexpr std::string_view kLumImage = R"(
4C 01000000
01000000 02000000 05000000 01000000 0000803F 0000003F
01000000 02000000 05000000 01000000 00000040 0000003F
01000000 02000000 05000000 01000000 00004040 0000003F
01000000 02000000 02000000 01000000 08000000 FFFFFFFF
)";
inline constexpr std::string_view kChromaImage = R"(
4C 01000000
01000000 02000000 05000000 01000000 0000803F 0000003F
01000000 02000000 05000000 01000000 00000040 0000003F
01000000 02000000 05000000 01000000 00004040 0000003F
01000000 02000000 05000000 01000000 00008040 0000003F
01000000 02000000 05000000 01000000 0000A040 0000003F
01000000 02000000 05000000 01000000 0000C040 0000003F
01000000 02000000 05000000 01000000 0000E040 0000003F
01000000 02000000 05000000 01000000 00000041 0000003F
01000000 02000000 05000000 01000000 00001041 0000003F
01000000 02000000 02000000 01000000 08000000 FFFFFFFF
)";

// A name in a folder of this process, which goes with it.
class TempFolder {
 public:
  TempFolder()
      : path_(std::filesystem::path(::testing::TempDir()) /
              ("multilayer_" + std::to_string(getpid()))) {
    std::filesystem::create_directories(path_);
  }
  ~TempFolder() { std::filesystem::remove_all(path_); }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  std::string operator/(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

inline Image ReadFile(const std::string& fullname) {
  std::ifstream file(fullname, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteFile(const std::string& fullname, const Image& bytes) {
  std::ofstream file(fullname, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
}

// What ToBuffer of a small persistent object writes.
template <class Object>
Image ImageOf(const Object& object) {
  uint8_t bytes[4096];
  uint64_t size = sizeof bytes;
  EXPECT_EQ(object.ToBuffer(bytes, &size), 0);
  return {bytes, bytes + size};
}

// Overwrites a 32-bit word of an image.
inline Image WithWord(Image image, size_t offset, int32_t value) {
  for (size_t i = 0; i < 4; ++i) {
    image.at(offset + i) = static_cast<uint8_t>(static_cast<uint32_t>(value) >> (8 * i));
  }
  return image;
}

}  // namespace multilayer::testing

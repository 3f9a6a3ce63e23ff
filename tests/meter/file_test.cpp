// Measurement files and buffers: bytes, records that stay, statuses and log lines.
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <future>

#include <gmock/gmock.h>
#include <opencv2/core.hpp>
#include <sys/resource.h>
#include <sys/stat.h>

#include "multilayer/meter/led_meter.h"
#include "tests/golden/images.h"
#include "tests/support/log_recorder.h"
#include "tests/support/meters.h"

namespace multilayer {
namespace {

using testing::Concat;
using ::testing::ElementsAre;
using testing::FullMeterImage;
using testing::Hex;
using testing::Image;
using testing::ImageOf;
using ::testing::IsEmpty;
using testing::kMeterCapture;
using testing::kMeterEnd;
using testing::kMeterHead;
using testing::kMeterLayer;
using testing::kMeterPanel;
using testing::kMeterPart;
using testing::LogRecorder;
using testing::ReadFile;
using testing::SameBits;
using testing::TempFolder;
using testing::WithWord;
using testing::WriteFile;

// The record of kMeterHead, without metadata.
LedMeter GoldenMeter() {
  LedMeter meter;
  meter.color = COLOR_RED;
  meter.type = CIE_Y;
  meter.state = (cv::Mat_<uint8_t>(1, 2) << 2, 3);
  meter.pos = (cv::Mat_<cv::Vec2f>(1, 2) << cv::Vec2f(1.5F, 2), cv::Vec2f(3, 4));
  meter.chroma = (cv::Mat_<float>(1, 2) << 0.25F, 100);
  return meter;
}

LedMeter FullMeter() {
  LedMeter meter = GoldenMeter();
  meter.part = std::make_unique<PartRecord>(PartRecord{2, 3, 2, 1, 8, 6});
  meter.panel = std::make_unique<PanelRecord>(PanelRecord{1, 2, 3, 8, 6, 0.5F});
  meter.layer = std::make_unique<LayerRecord>(LayerRecord{1, 0.25F, 128});
  meter.capture = std::make_unique<CaptureRecord>(CaptureRecord{10, 11, 12, 13, 14});
  return meter;
}

int32_t Read(LedMeter& meter, const Image& image) {
  return meter.FromBuffer(image.data(), image.size());
}

TEST(MeterFile, HoldsTheGoldenBytesOfTheRecordsThatExist) {
  LedMeter part_and_layer = FullMeter();
  part_and_layer.panel.reset();
  part_and_layer.capture.reset();
  EXPECT_EQ(ImageOf(GoldenMeter()), Concat({kMeterHead, kMeterEnd}));
  EXPECT_EQ(ImageOf(part_and_layer), Concat({kMeterHead, kMeterPart, kMeterLayer, kMeterEnd}));
  EXPECT_EQ(ImageOf(FullMeter()), FullMeterImage());

  const TempFolder folder;
  uint64_t size = 0;
  EXPECT_EQ(FullMeter().Save(folder / "a.meter"), 0);
  EXPECT_EQ(FullMeter().GetBufferSize(&size), 0);
  EXPECT_EQ(ReadFile(folder / "a.meter"), FullMeterImage());
  EXPECT_EQ(size, FullMeterImage().size());
}

TEST(MeterFile, ReadsBackFromFileAndBuffer) {
  const TempFolder folder;
  WriteFile(folder / "a.meter", FullMeterImage());
  for (const bool from_file : {false, true}) {
    SCOPED_TRACE(from_file);
    LedMeter meter;
    LogRecorder log;
    EXPECT_EQ(from_file ? meter.Load(folder / "a.meter") : Read(meter, FullMeterImage()), 0);
    EXPECT_THAT(log.TakeErrors(), IsEmpty());
    const LedMeter expected = FullMeter();
    EXPECT_EQ(ImageOf(meter), FullMeterImage());
    EXPECT_TRUE(SameBits(meter.state, expected.state));
    EXPECT_TRUE(SameBits(meter.pos, expected.pos));
    EXPECT_TRUE(SameBits(meter.chroma, expected.chroma));
    EXPECT_EQ(meter.panel->pixel_pitch, 0.5F);
    EXPECT_EQ(meter.capture->filter, 14);
  }
}

TEST(MeterFile, AFreshRecordGetsExactlyTheRecordsOfTheStream) {
  LedMeter meter;
  EXPECT_EQ(Read(meter, Concat({kMeterHead, kMeterPart, kMeterLayer, kMeterEnd})), 0);
  EXPECT_TRUE(meter.part != nullptr && meter.layer != nullptr);
  EXPECT_TRUE(meter.panel == nullptr && meter.capture == nullptr);
}

TEST(MeterFile, RecordsAreOverwrittenInPlaceAndOthersStay) {
  LedMeter meter = FullMeter();
  meter.layer->value = 1;
  meter.panel->w = 77;
  meter.added = cv::Mat::ones(1, 1, CV_8UC1);
  const LayerRecord* const layer = meter.layer.get();
  const PanelRecord* const panel = meter.panel.get();
  EXPECT_EQ(Read(meter, Concat({kMeterHead, kMeterLayer, kMeterEnd})), 0);
  EXPECT_EQ(meter.layer.get(), layer);
  EXPECT_EQ(layer->value, 128);
  EXPECT_EQ(meter.panel.get(), panel);
  EXPECT_EQ(panel->w, 77);
  EXPECT_TRUE(meter.part != nullptr && meter.capture != nullptr);
  EXPECT_FALSE(meter.added.empty());
}

TEST(MeterFile, TagsComeInAnyOrderAndUnknownOnesAreWordsAlone) {
  const char* kUnknown = "40000000 01000000 20000000 00000000 06000000 FEFFFFFF";
  LedMeter meter;
  LogRecorder log;
  EXPECT_EQ(Read(meter, Concat({kMeterHead, kMeterCapture, kUnknown, kMeterPanel, kMeterLayer,
                                "40000000", kMeterPart, kMeterEnd, kMeterPart, "EE"})),
            0);
  EXPECT_THAT(log.TakeErrors(), IsEmpty());
  EXPECT_EQ(ImageOf(meter), FullMeterImage());

  // The last of two records counts.
  EXPECT_EQ(Read(meter, Concat({kMeterHead, "10000000 09000000 00000000 09000000", kMeterLayer,
                                kMeterEnd})),
            0);
  EXPECT_EQ(ImageOf(meter), FullMeterImage());
}

constexpr const char* kNoEnd = " -- Error data in file: it ends before the end marker.";
constexpr const char* kForged =
    " -- Error data in file: a count or a matrix header that no valid file can carry.";
constexpr const char* kVersionError = " -- Error version in file.";
constexpr const char* kMarkError = " -- Error file endianness.";

TEST(MeterFile, BadContentsLeaveTheRecordAsItWas) {
  const Image golden = FullMeterImage();
  Image other_mark = golden;
  other_mark[0] = 'B';
  const struct {
    const char* name;
    Image image;
    int32_t status;
    const char* message;
  } cases[] = {
      {"nothing", {}, 10, kMarkError},
      {"mark", other_mark, 10, kMarkError},
      {"mark alone", Hex("4C"), 3, kVersionError},
      {"version 2", WithWord(golden, 1, 2), 3, kVersionError},
      {"no body", Hex("4C 01000000"), 9, kNoEnd},
      {"no end marker", Concat({kMeterHead, kMeterPart}), 9, kNoEnd},
      {"no end marker, with an unknown tag", Concat({kMeterHead, "40000000"}), 9, kNoEnd},
      {"half an end marker", Concat({kMeterHead, kMeterPart, "FFFF"}), 9, kNoEnd},
      {"a record cut short", Concat({kMeterHead, "10000000 01000000"}), 9, kNoEnd},
      {"depth", WithWord(golden, 13 + 8, -1), 9, kForged},
      {"rows", WithWord(golden, 13, INT32_MAX), 9, kForged},
      {"channels", WithWord(golden, 13 + 12, 513), 9, kForged},
  };
  const TempFolder folder;
  LedMeter meter = FullMeter();
  meter.color = COLOR_BLUE;
  const Image before = ImageOf(meter);
  const uint8_t address = 0;
  for (const auto& [name, image, status, message] : cases) {
    SCOPED_TRACE(name);
    WriteFile(folder / "a.meter", image);
    LogRecorder log;
    EXPECT_EQ(meter.Load(folder / "a.meter"), status);
    EXPECT_THAT(log.TakeErrors(), ElementsAre(std::string("LedMeter::Load") + message));
    EXPECT_EQ(meter.FromBuffer(image.empty() ? &address : image.data(), image.size()), status);
    EXPECT_THAT(log.TakeErrors(), ElementsAre(std::string("LedMeter::FromBuffer") + message));
    EXPECT_EQ(ImageOf(meter), before);
  }
}

TEST(MeterFile, NamesThatCannotBeOpened) {
  const TempFolder folder;
  const std::string missing = folder / "no/a.meter";
  const std::string directory = folder / "folder.meter";
  std::filesystem::create_directory(directory);
  const std::string device = folder / "zeros.meter";
  std::filesystem::create_symlink("/dev/zero", device);
  LedMeter meter = FullMeter();
  LogRecorder log;
  for (const std::string& name : {missing, directory, device}) {
    EXPECT_EQ(meter.Load(name), 2);
    EXPECT_THAT(log.TakeErrors(),
                ElementsAre("LedMeter::Load -- Failed to Open file. fullname = " + name));
  }
  for (const std::string& name : {missing, directory}) {
    EXPECT_EQ(meter.Save(name), 4);
    EXPECT_THAT(log.TakeErrors(),
                ElementsAre("LedMeter::Save -- Failed to Open file. fullname = " + name));
  }
  EXPECT_EQ(meter.Save(folder / ".Meter"), 8);
  EXPECT_THAT(log.TakeErrors(), ElementsAre("LedMeter::Save--Error :: ext filename mismatch."));
  EXPECT_EQ(meter.Load(folder / "a.mlcoefs"), 8);
  EXPECT_THAT(log.TakeErrors(), ElementsAre("LedMeter::Load--Error :: ext filename mismatch."));
  EXPECT_EQ(ImageOf(meter), FullMeterImage());
}

// Of more positions than are split at a time.
LedMeter LargeMeter() {
  LedMeter meter = FullMeter();
  cv::RNG random(1);
  meter.state = cv::Mat(301, 401, CV_8UC1, cv::Scalar(LED_USABLE));
  meter.pos.create(301, 401, CV_32FC2);
  random.fill(meter.pos, cv::RNG::UNIFORM, 0, 4000);
  meter.chroma.create(301, 401, CV_32FC1);
  random.fill(meter.chroma, cv::RNG::UNIFORM, 1, 2);
  return meter;
}

Image LargeImage(const LedMeter& meter) {
  uint64_t size = 0;
  EXPECT_EQ(meter.GetBufferSize(&size), 0);
  Image image(size);
  EXPECT_EQ(meter.ToBuffer(image.data(), &size), 0);
  return image;
}

TEST(MeterFile, GoesIntoAPipe) {
  const TempFolder folder;
  const std::string pipe = folder / "a.meter";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const LedMeter meter = LargeMeter();
  auto received = std::async(std::launch::async, [&pipe] { return ReadFile(pipe); });
  EXPECT_EQ(meter.Save(pipe), 0);
  EXPECT_TRUE(received.get() == LargeImage(meter));
}

// The most bytes that a file may have, as long as this lives.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(size_t size) : signal_(std::signal(SIGXFSZ, SIG_IGN)) {
    EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &before_), 0);
    const rlimit limit = {size, before_.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, signal_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit before_ = {};
  void (*signal_)(int);
};

// Whoever saves must be able to tell by the file's length that space ran out.
TEST(MeterFile, WithoutSpaceEndsEarly) {
  const TempFolder folder;
  const LedMeter meter = LargeMeter();
  const Image whole = LargeImage(meter);
  const auto save = [&](size_t space) {
    const FileSizeLimit limit(space);
    return meter.Save(folder / "a.meter");
  };
  for (const size_t space : {size_t{0}, size_t{100}, whole.size() / 20, whole.size() / 4,
                             whole.size() / 2, 3 * whole.size() / 4, whole.size() - 1}) {
    EXPECT_EQ(save(space), 0);
    const Image saved = ReadFile(folder / "a.meter");
    ASSERT_LE(saved.size(), space);
    EXPECT_TRUE(std::equal(saved.begin(), saved.end(), whole.begin())) << space;
  }
  EXPECT_EQ(save(whole.size()), 0);
  EXPECT_TRUE(ReadFile(folder / "a.meter") == whole);
}

TEST(MeterFile, BuffersTooShortAndNullArgumentsAreRefusedInSilence) {
  const TempFolder folder;
  const LedMeter meter = FullMeter();
  Image buffer(FullMeterImage().size(), 0xEE);
  const Image untouched = buffer;
  uint64_t size = buffer.size() - 1;
  LogRecorder log;
  EXPECT_EQ(meter.ToBuffer(buffer.data(), &size), 13);
  EXPECT_EQ(size, buffer.size() - 1);
  EXPECT_EQ(buffer, untouched);
  size = buffer.size();
  EXPECT_EQ(meter.ToBuffer(buffer.data(), &size), 0);
  EXPECT_EQ(buffer, FullMeterImage());
  EXPECT_EQ(meter.ToBuffer(nullptr, &size), 1);
  EXPECT_EQ(meter.ToBuffer(buffer.data(), nullptr), 1);
  EXPECT_EQ(LedMeter().FromBuffer(nullptr, 5), 1);
  EXPECT_EQ(meter.GetBufferSize(nullptr), 1);

  LedMeter without_chroma = FullMeter();
  without_chroma.chroma.release();
  EXPECT_EQ(without_chroma.GetBufferSize(&size), 5);
  EXPECT_EQ(size, buffer.size());
  EXPECT_EQ(without_chroma.Save(folder / "a.meter"), 0);
  EXPECT_EQ(ReadFile(folder / "a.meter"), ImageOf(without_chroma));
  EXPECT_THAT(log.TakeErrors(), IsEmpty());
}

TEST(MeterFile, EachOperationNamesItself) {
  const TempFolder folder;
  LedMeter meter = FullMeter();
  uint64_t size = 0;
  LogRecorder log;
  meter.Save(folder / "a.meter");
  meter.Load(folder / "a.meter");
  meter.ToBuffer(nullptr, &size);
  meter.FromBuffer(nullptr, 0);
  meter.GetBufferSize(&size);
  EXPECT_THAT(log.TakeInfos(), ElementsAre("LedMeter::Save", "LedMeter::Load", "LedMeter::ToBuffer",
                                           "LedMeter::FromBuffer", "LedMeter::GetBufferSize"));
}

}  // namespace
}  // namespace multilayer

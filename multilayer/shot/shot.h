// A camera's photograph of the lit wall, with what it shows and how it was taken.
#pragma once

#include <cstdint>
#include <memory>

#include <opencv2/core/mat.hpp>

#include "multilayer/io/metadata.h"

namespace multilayer {

// Tests that Shot::Check can be asked for: bits, combined with OR. Other bits test nothing.
enum ShotCheck : uint32_t {
  SHOT_CHECK_NOT_NULL = 0x1,
  SHOT_CHECK_IMAGE = 0x2,           // image holds elements
  SHOT_CHECK_SINGLE_CHANNEL = 0x4,  // type is CIE_X, CIE_Y, CIE_Z, CAM_R, CAM_G or CAM_B
  SHOT_CHECK_SAME_TYPE = 0x10,      // pairs
  SHOT_CHECK_SAME_SIZE = 0x20,      // pairs: images of equal rows and columns
  SHOT_CHECK_COLOR = 0x100,
  SHOT_CHECK_DEVICE = 0x1000,
  SHOT_CHECK_PATTERN = 0x10000,
  SHOT_CHECK_PANEL = 0x100000,
};

// The setters copy what they are given and own the copy; a record that one refuses leaves the
// earlier one. Movable, not copyable. One thread at a time.
struct Shot {
  std::unique_ptr<PartRecord> part;  // the partition shown; each record is null until set
  std::unique_ptr<PanelRecord> panel;
  std::unique_ptr<LayerRecord> layer;
  std::unique_ptr<PatternRecord> pattern;  // the LEDs that are lit
  std::unique_ptr<int32_t> color;          // the primary shown: one ColorCode
  std::unique_ptr<DeviceRecord> device;
  std::unique_ptr<CaptureRecord> capture;

  int32_t type = 0;  // what the image holds: one TypeCode
  cv::Mat image;     // the photograph: one channel, or three for CIE_XYZ and CAM_RGB

  int32_t SetCapture(const CaptureRecord& record);  // 0
  int32_t SetColor(int32_t code);                   // 0
  int32_t SetDevice(const DeviceRecord& record);    // 0
  int32_t SetLayer(const LayerRecord& record);      // 0
  // Returns 0; 106, after one log line, unless w and h are at least 1.
  int32_t SetLedPanel(const PanelRecord& record);
  // Returns 0; 108, after one log line, unless the partition has LEDs and lies on its screen.
  int32_t SetPartition(const PartRecord& record);

  // Runs the tests of `mask` (ShotCheck bits). Of two shots: the single tests of b, of a, then the
  // pair tests. Without SHOT_CHECK_NOT_NULL the shots must not be null. Returns 0, or the status of
  // the first test that fails, after one log line: 1 null or no image, 110 type, 111 color, 105
  // device, 104 pattern, 106 panel, 101 a pair that differs. Changes nothing.
  static int32_t Check(uint32_t mask, const Shot* a);
  static int32_t Check(uint32_t mask, const Shot* a, const Shot* b);
};

}  // namespace multilayer

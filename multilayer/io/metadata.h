// The metadata records of measurements and camera shots, their codes, and their tags in a file.
#pragma once

#include <cstdint>

namespace multilayer {

// Every record is a row of 4-byte values (texts in multiples of four bytes) without padding, so its
// bytes in memory, in the declared order, are its payload in a file. Little-endian, as the formats.

// A partition of the screen, in LEDs: its rectangle and the size of the whole screen.
struct PartRecord {
  int32_t x = 0;  // first column on the screen
  int32_t y = 0;  // first row on the screen
  int32_t w = 0;  // columns
  int32_t h = 0;  // rows
  int32_t screen_w = 0;
  int32_t screen_h = 0;
};

// The most LEDs of a partition: a plane of 32-bit values of it has fewer than 2^31 bytes.
inline constexpr int32_t kMaxLeds = 536870911;

// A gray layer: one level that was shown and photographed.
struct LayerRecord {
  int32_t index = 0;          // number of the layer within its series, from 0
  float linear_norms = 0.0F;  // linear drive of the level as a fraction of full scale, 0..1
  int32_t value = 0;          // gray level: a column of the gamma table
};

// An LED panel (cabinet or module) of the wall.
struct PanelRecord {
  int32_t type = 0;
  int32_t layout = 0;
  int32_t subpixel_type = 0;
  int32_t w = 0;             // columns, in LEDs
  int32_t h = 0;             // rows, in LEDs
  float pixel_pitch = 0.0F;  // distance of neighbouring LEDs, mm
};

// The camera and lens of a shot; the texts end with a NUL.
struct DeviceRecord {
  char id[64] = {};
  int32_t cam_type = 0;
  char lens_id[64] = {};
  int32_t lens_type = 0;
};

// The settings of the camera, in the units of its maker.
struct CaptureRecord {
  int32_t exposure = 0;
  int32_t gain = 0;
  int32_t aperture = 0;
  int32_t microfocus = 0;
  int32_t filter = 0;
};

// The sparse grid of LEDs that a shot lights: one in every interval_x columns and interval_y rows,
// from column loc_x and row loc_y on.
struct PatternRecord {
  int32_t type = 0;
  int32_t interval_x = 0;
  int32_t interval_y = 0;
  int32_t loc_x = 0;  // 0 <= loc_x < interval_x
  int32_t loc_y = 0;  // 0 <= loc_y < interval_y
  int32_t lighted_led_w = 0;
  int32_t lighted_led_h = 0;
};

static_assert(sizeof(PartRecord) == 24 && sizeof(LayerRecord) == 12 && sizeof(PanelRecord) == 24 &&
                  sizeof(DeviceRecord) == 136 && sizeof(CaptureRecord) == 20 &&
                  sizeof(PatternRecord) == 28,
              "a record's memory is its payload in a file");

// What a value was measured with: bit flags, combined for three-channel images.
enum TypeCode : int32_t {
  CIE_X = 1,
  CIE_Y = 2,
  CIE_Z = 4,
  CIE_XYZ = 7,
  CAM_R = 16,
  CAM_G = 32,
  CAM_B = 64,
  CAM_RGB = 112,
};

// The primary that was displayed: bit flags, of which a record carries exactly one.
enum ColorCode : int32_t {
  COLOR_BLUE = 1,
  COLOR_GREEN = 2,
  COLOR_RED = 4,
};

// What follows in a file: one tag space for measurements and shots.
enum MetadataTag : int32_t {
  TAG_DEVICE = 1,
  TAG_CAPTURE = 2,
  TAG_PART = 4,
  TAG_PANEL = 8,
  TAG_LAYER = 16,
  TAG_PATTERN = 32,
  TAG_COLOR = 64,
  TAG_END = -1,
};

}  // namespace multilayer

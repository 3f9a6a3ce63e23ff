// The measurement record: one measured channel of every LED of one partition, for one displayed
// primary at one gray layer.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <opencv2/core/mat.hpp>

#include "multilayer/io/metadata.h"

namespace multilayer {

struct Shot;

// Tests that LedMeter::Check can be asked for: bits, combined with OR.
enum LedMeterCheck : uint32_t {
  CHECK_NOT_NULL = 0x1,              // the record pointer
  CHECK_CHROMA = 0x2,                // chroma holds elements
  CHECK_SAME_CHROMA_SIZE = 0x4,      // pairs: chroma of equal rows and columns
  CHECK_TYPE = 0x10,                 // type is CIE_X, CIE_Y or CIE_Z
  CHECK_SAME_TYPE = 0x20,            // pairs
  CHECK_DIFFERENT_TYPE = 0x40,       // pairs
  CHECK_CIE_Y = 0x80,                // pairs: both types are CIE_Y
  CHECK_COLOR = 0x100,               // color is blue, green or red
  CHECK_SAME_COLOR = 0x200,          // pairs
  CHECK_DIFFERENT_COLOR = 0x400,     // pairs
  CHECK_STATE = 0x1000,              // state holds elements
  CHECK_SAME_STATE_SIZE = 0x2000,    // pairs
  CHECK_POS = 0x4000,                // pos holds elements
  CHECK_SAME_POS_SIZE = 0x8000,      // pairs
  CHECK_PART = 0x10000,              // part is present
  CHECK_LAYER = 0x20000,             // layer is present
  CHECK_SAME_LAYER_VALUE = 0x40000,  // pairs: layer->value
  CHECK_SAME_LAYER_NORMS = 0x80000,  // pairs: layer->linear_norms, compared exactly
};

// Bits of an LED's `state`.
enum LedState : uint8_t {
  LED_DEAD = 1,    // unusable in this layer: not corrected, repaired from its neighbours
  LED_USABLE = 2,  // its measurement may be used by the iterative modes
};

// A plain record. The caller fills and owns it; the engine reads it through pointers during a
// computation and changes nothing. Movable, not copyable. One thread at a time.
struct LedMeter {
  std::unique_ptr<PartRecord> part;        // null when missing
  std::unique_ptr<LayerRecord> layer;      // null when missing
  std::unique_ptr<PanelRecord> panel;      // null when missing
  std::unique_ptr<CaptureRecord> capture;  // null when missing

  int32_t color = 0;  // one ColorCode
  int32_t type = 0;   // one TypeCode

  cv::Mat state;   // CV_8UC1, part->h rows x part->w columns: LedState bits
  cv::Mat pos;     // CV_32FC2, same size: place in the camera image, pixels (x, y); may be empty
  cv::Mat chroma;  // CV_32FC1, same size: the measured value (cd/m^2 for CIE_Y)
  cv::Mat added;   // CV_8UC1, pattern interval_y x interval_x: nonzero while that pattern position
                   // has not been added yet; not stored in files

  // Runs the tests of `mask` (LedMeterCheck bits). Of two records: the single tests of a, of b,
  // then the pair tests. Of three: the pair (a, b), the pair (a, c), then b and c against each
  // other for CHECK_DIFFERENT_TYPE and CHECK_DIFFERENT_COLOR. Without CHECK_NOT_NULL the records
  // must not be null, and tests of a layer need CHECK_LAYER or a layer that is known to be there.
  // Returns 0, or the status of the first test that fails, after one log line: 1 null record, 12
  // empty matrix, 9 otherwise. Changes nothing.
  static int32_t Check(uint32_t mask, const LedMeter* a);
  static int32_t Check(uint32_t mask, const LedMeter* a, const LedMeter* b);
  static int32_t Check(uint32_t mask, const LedMeter* a, const LedMeter* b, const LedMeter* c);

  // --- Measuring shot by shot -------------------------------------------------------------------
  //
  // A shot lights one LED in every interval_x columns and interval_y rows; after one shot for each
  // place of that grid the record is complete. `pos_input` and `chroma_input` are what was found
  // in the shot's image: null, or two matrices each, lighted_led_h x lighted_led_w. Of pos_input the
  // second is CV_32FC2, the places (x, y); the first is not read, but must hold elements. Of
  // chroma_input the first is CV_8UC1, LedState bits, the second CV_32FC1, the values.

  // Whether a shot may be added. The first one (`added` empty) makes the record: metadata, color
  // and type of the shot; state, and pos and chroma if their inputs are given, all 0. A shot that
  // passes is marked in `added`. Returns 0, or after one log line: 1 no shot or no inputs; 403
  // three channels; 110, 111, 104 as Shot::Check; 5 an input is empty; 400 inputs that differ in
  // size or, both given, from lighted_led_w and _h, or LEDs outside the pattern or the partition;
  // 404 other inputs than the first shot; 102 other color, type, partition or pattern; 401 added
  // already; 9 no partition, one of no or too many LEDs, or matrices of other types. Nothing is
  // changed then.
  int32_t CheckInput(const Shot* shot, const cv::Mat* pos_input, const cv::Mat* chroma_input);

  // CheckInput, then copies the inputs to the LEDs that the shot lights. `chroma_input` must not be
  // null. Statuses as CheckInput.
  int32_t Add(const Shot* shot, const cv::Mat* pos_input, const cv::Mat* chroma_input);

  // --- Operations on a complete record ----------------------------------------------------------
  //
  // FixDeadPoint and Align write into the elements of chroma, which every header of it sees. Each
  // status but 0 changes nothing and, where it does not say otherwise, comes with one log line.

  // Gives every LED marked LED_DEAD the median of chroma over its 3 x 3 neighbourhood, the border
  // repeated, NaN as the largest. Returns 0; 5 chroma empty; 9 chroma or state no plane of their type and equal size.
  int32_t FixDeadPoint();

  // Scales chroma so that its mean becomes the target of the record's type. `target`: 3 floats, X,
  // Y, Z. The mean is that of all LEDs or, with both `point` (2 values: column, row) and `radius`
  // (LEDs), of those within radius + 0.5 of the point. A mean of 0 gives infinity or NaN. Returns
  // 0; 1 null target; 5 chroma empty; 9 chroma is no plane of floats; 405 the disc holds no LED or
  // leaves the partition by more than one column or row beyond the last.
  int32_t Align(const float* target, const int32_t* point, const int32_t* radius);

  // Draws pos.x of every LED as a gray image, 255 the largest magnitude, to `fullname`, whose
  // extension names the image format. Returns 0; 5 pos empty; 9 pos is no plane of points; 4 not
  // written.
  int32_t ExportPointImage(const std::string& fullname) const;

  // Averages chroma over the ".meter" files `fullnames`, `count` of them, and saves it, with all
  // else as in the first file, as `output`; holds two files at a time. Returns 0; 471 another
  // number of names, or none; 9 chroma is no plane of floats, or color, type or size of a file
  // differ from the first; 1, without a log line, an empty name; or the status of Load or Save.
  static int32_t MeterMean(const std::vector<std::string>& fullnames, int32_t count,
                           const std::string& output);

  // --- Files and buffers ------------------------------------------------------------------------

  // Writes the record to `fullname`, which must end with ".meter"; an earlier file is replaced. An
  // empty record is saved as it stands. Returns 0; 8 wrong extension; 4 cannot be opened. A write
  // that fails later (disk full) is not reported: compare the file's length with GetBufferSize.
  int32_t Save(const std::string& fullname) const;

  // Reads `fullname`. Matrices, color and type are replaced; metadata that the file holds
  // overwrites what is there, metadata that it does not hold stays. Returns 0; 8 wrong extension; 2
  // cannot be opened; 10 no byte-order mark; 3 other version; 9 contents that no valid file can
  // carry, or no end marker. On failure the record is as it was.
  int32_t Load(const std::string& fullname);

  // The bytes that Save writes, to `buffer`. `*size`: its capacity in bytes on entry, the bytes
  // written on return. Returns 0; 1 null argument; 13 capacity too small, nothing written.
  int32_t ToBuffer(uint8_t* buffer, uint64_t* size) const;

  // Reads `size` bytes, as Load. Returns 0; 1 null buffer; 10, 3, 9 as Load.
  int32_t FromBuffer(const uint8_t* buffer, uint64_t size);

  // Stores in `*size` the bytes that ToBuffer needs. Returns 0; 1 null argument; 5 chroma empty.
  int32_t GetBufferSize(uint64_t* size) const;
};

}  // namespace multilayer

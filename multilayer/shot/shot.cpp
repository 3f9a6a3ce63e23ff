// Setting and checking what a camera shot says of itself.
#include "multilayer/shot/shot.h"

#include "multilayer/io/fail.h"
#include "pellix/pellix.h"

namespace multilayer {
namespace {

// Overwrites in place, so that a pointer to a record stays good.
template <class Record>
int32_t Set(std::unique_ptr<Record>& target, const Record& record) {
  if (target == nullptr) {
    target = std::make_unique<Record>(record);
  } else {
    *target = record;
  }
  return 0;
}

// Whether `count` LEDs from `first` on are at least one and end within `size`; without sums that
// could overflow.
bool Within(int32_t first, int32_t count, int32_t size) {
  return count > 0 && 0 <= first && first < size && count <= size - first;
}

bool IsSingleChannel(int32_t type) {
  return type == CIE_X || type == CIE_Y || type == CIE_Z || type == CAM_R || type == CAM_G ||
         type == CAM_B;
}

}  // namespace

int32_t Shot::SetCapture(const CaptureRecord& record) {
  PellixInfo("Shot::SetCapture");
  return Set(capture, record);
}

int32_t Shot::SetColor(int32_t code) {
  PellixInfo("Shot::SetColor");
  return Set(color, code);
}

int32_t Shot::SetDevice(const DeviceRecord& record) {
  PellixInfo("Shot::SetDevice");
  return Set(device, record);
}

int32_t Shot::SetLayer(const LayerRecord& record) {
  PellixInfo("Shot::SetLayer");
  return Set(layer, record);
}

int32_t Shot::SetLedPanel(const PanelRecord& record) {
  PellixInfo("Shot::SetLedPanel");
  if (record.w < 1 || record.h < 1) {
    return Fail(106, "Shot::SetLedPanel--Error :: invalid panel_wh");
  }
  return Set(panel, record);
}

int32_t Shot::SetPartition(const PartRecord& record) {
  PellixInfo("Shot::SetPartition");
  if (!Within(record.x, record.w, record.screen_w) ||
      !Within(record.y, record.h, record.screen_h)) {
    return Fail(108, "Shot::SetPartition--Error :: invalid screen wh or partition xywh");
  }
  return Set(part, record);
}

int32_t Shot::Check(uint32_t mask, const Shot* a) {
  if ((mask & SHOT_CHECK_NOT_NULL) != 0 && a == nullptr) {
    return Fail(1, "Shot::Check--Error in Shot input is nullptr");
  }
  if ((mask & SHOT_CHECK_IMAGE) != 0 && a->image.empty()) {
    return Fail(1, "Shot::Check--Error shot.image is empty");
  }
  if ((mask & SHOT_CHECK_SINGLE_CHANNEL) != 0 && !IsSingleChannel(a->type)) {
    return Fail(110, "Shot::Check--Error ::  only support single channel");
  }
  if ((mask & SHOT_CHECK_COLOR) != 0 && a->color == nullptr) {
    return Fail(111, "Shot::Check--Error :: meta::color info incompleted.");
  }
  if ((mask & SHOT_CHECK_DEVICE) != 0 && a->device == nullptr) {
    return Fail(105, "Shot::Check--Error :: meta::device info incompleted.");
  }
  if ((mask & SHOT_CHECK_PATTERN) != 0 && a->pattern == nullptr) {
    return Fail(104, "Shot::Check--Error ::  pattern meta info incompleted.");
  }
  if ((mask & SHOT_CHECK_PANEL) != 0 && a->panel == nullptr) {
    return Fail(106, "Shot::Check--Error ::  panel meta info incompleted.");
  }
  return 0;
}

int32_t Shot::Check(uint32_t mask, const Shot* a, const Shot* b) {
  for (const Shot* shot : {b, a}) {
    if (const int32_t status = Check(mask, shot); status != 0) {
      return status;
    }
  }
  if ((mask & SHOT_CHECK_SAME_TYPE) != 0 && a->type != b->type) {
    return Fail(101, "Shot::Check--Error :: meta::type mismatch.");
  }
  if ((mask & SHOT_CHECK_SAME_SIZE) != 0 &&
      (a->image.rows != b->image.rows || a->image.cols != b->image.cols)) {
    return Fail(101, "Shot::Check--Error :: image size mismatch.");
  }
  return 0;
}

}  // namespace multilayer

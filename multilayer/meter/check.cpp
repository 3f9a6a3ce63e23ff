// LedMeter::Check: which properties of measurement records must hold.
#include "multilayer/io/fail.h"
#include "multilayer/meter/led_meter.h"

namespace multilayer {
namespace {

bool IsOneOf124(int32_t code) { return code == 1 || code == 2 || code == 4; }

}  // namespace

int32_t LedMeter::Check(uint32_t mask, const LedMeter* a) {
  if ((mask & CHECK_NOT_NULL) != 0 && a == nullptr) {
    return Fail(1, "LedMeter::Check--Error in LedMeter input is nullptr");
  }
  if ((mask & CHECK_PART) != 0 && a->part == nullptr) {
    return Fail(9, "LedMeter::Check--Error in LedMeter part is nullptr");
  }
  if ((mask & CHECK_LAYER) != 0 && a->layer == nullptr) {
    return Fail(9, "LedMeter::Check--Error in LedMeter layer is nullptr");
  }
  if ((mask & CHECK_CHROMA) != 0 && a->chroma.empty()) {
    return Fail(12, "LedMeter::Check--Error in LedMeter chroma is empty");
  }
  if ((mask & CHECK_POS) != 0 && a->pos.empty()) {
    return Fail(12, "LedMeter::Check--Error in LedMeter pos is empty");
  }
  if ((mask & CHECK_STATE) != 0 && a->state.empty()) {
    return Fail(12, "LedMeter::Check--Error in LedMeter state is empty");
  }
  if ((mask & CHECK_TYPE) != 0 && !IsOneOf124(a->type)) {
    return Fail(9, "LedMeter::Check--Error in LedMeter input type");
  }
  if ((mask & CHECK_COLOR) != 0 && !IsOneOf124(a->color)) {
    return Fail(9, "LedMeter::Check--Error in LedMeter input color");
  }
  return 0;
}

int32_t LedMeter::Check(uint32_t mask, const LedMeter* a, const LedMeter* b) {
  for (const LedMeter* record : {a, b}) {
    if (const int32_t status = Check(mask, record); status != 0) {
      return status;
    }
  }
  if ((mask & CHECK_SAME_TYPE) != 0 && a->type != b->type) {
    return Fail(9, "LedMeter::Check--Error in LedMeter input type different");
  }
  if ((mask & CHECK_DIFFERENT_TYPE) != 0 && a->type == b->type) {
    return Fail(9, "LedMeter::Check--Error in LedMeter input type same");
  }
  if ((mask & CHECK_SAME_COLOR) != 0 && a->color != b->color) {
    return Fail(9, "LedMeter::Check--Error in LedMeter input color different");
  }
  if ((mask & CHECK_SAME_CHROMA_SIZE) != 0 && a->chroma.size() != b->chroma.size()) {
    return Fail(9, "LedMeter::Check--Error in LedMeter input chroma size different");
  }
  if ((mask & CHECK_SAME_POS_SIZE) != 0 && a->pos.size() != b->pos.size()) {
    return Fail(9, "LedMeter::Check--Error in LedMeter input pos size different");
  }
  if ((mask & CHECK_SAME_STATE_SIZE) != 0 && a->state.size() != b->state.size()) {
    return Fail(9, "LedMeter::Check--Error in LedMeter input state size different");
  }
  if ((mask & CHECK_DIFFERENT_COLOR) != 0 && a->color == b->color) {
    return Fail(9, "LedMeter::Check--Error in LedMeter input color same");
  }
  if ((mask & CHECK_CIE_Y) != 0 && (a->type != CIE_Y || b->type != CIE_Y)) {
    return Fail(9, "LedMeter::Check--Error in LedMeter input type not CIE_Y");
  }
  if ((mask & CHECK_SAME_LAYER_VALUE) != 0 && a->layer->value != b->layer->value) {
    return Fail(9, "LedMeter::Check--Error in LedMeter layer value not same.");
  }
  if ((mask & CHECK_SAME_LAYER_NORMS) != 0 && a->layer->linear_norms != b->layer->linear_norms) {
    return Fail(9, "LedMeter::Check--Error in LedMeter layer linera_norms not same.");
  }
  return 0;
}

int32_t LedMeter::Check(uint32_t mask, const LedMeter* a, const LedMeter* b, const LedMeter* c) {
  for (const LedMeter* other : {b, c}) {
    if (const int32_t status = Check(mask, a, other); status != 0) {
      return status;
    }
  }
  if ((mask & CHECK_DIFFERENT_TYPE) != 0 && b->type == c->type) {
    return Fail(9, "LedMeter::Check--Error in LedMeter input type same");
  }
  if ((mask & CHECK_DIFFERENT_COLOR) != 0 && b->color == c->color) {
    return Fail(9, "LedMeter::Check--Error in LedMeter input color same");
  }
  return 0;
}

}  // namespace multilayer

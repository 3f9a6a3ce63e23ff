// The luminance computation: mode, targets, and the Norm pass over the partition.
#include <opencv2/core.hpp>

#include "multilayer/cpu/instruction_set.h"
#include "multilayer/io/fail.h"
#include "multilayer/io/renew.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "multilayer/multi_layer/norm_solver.h"
#include "pellix/pellix.h"

namespace multilayer {
namespace {

void RenewAll(std::vector<cv::Mat>& list, int32_t count, cv::Size size, int type) {
  list.resize(static_cast<size_t>(count));
  for (cv::Mat& mat : list) {
    Renew(mat, size, type);
  }
}

// The matrices of one colour.
struct NormMatrices {
  const std::vector<LedMeter*>& meters;
  std::vector<cv::Mat>& coefs;
  std::vector<cv::Mat>& segments;
};

// Row `row` of every matrix; row 0 stands for the whole matrix when all are continuous.
NormRow RowOf(const NormMatrices& matrices, int row) {
  NormRow pointers;
  for (const LedMeter* record : matrices.meters) {
    pointers.chroma.push_back(record->chroma.ptr<float>(row));
    pointers.state.push_back(record->state.ptr<uint8_t>(row));
  }
  for (cv::Mat& coef : matrices.coefs) {
    pointers.coef.push_back(coef.ptr<float>(row));
  }
  for (cv::Mat& segment : matrices.segments) {
    pointers.segments.push_back(segment.ptr<float>(row));
  }
  return pointers;
}

// Measurements may be regions of larger matrices; what the engine makes is continuous.
bool AllContinuous(const std::vector<LedMeter*>& meters) {
  for (const LedMeter* record : meters) {
    if (!record->chroma.isContinuous() || !record->state.isContinuous()) {
      return false;
    }
  }
  return true;
}

void SolveColour(const NormMatrices& matrices, cv::Size size, NormSolver solver) {
  const bool whole = AllContinuous(matrices.meters);
  const int rows = whole ? 1 : size.height;
  const auto count = static_cast<size_t>(whole ? size.area() : size.width);
  for (int row = 0; row < rows; ++row) {
    solver.Solve(RowOf(matrices, row), count);
  }
}

}  // namespace

NormColour NormColourOf(const MultiLayerCoeff& engine, size_t colour) {
  NormColour result;
  result.gray_max = engine.grayMax;
  for (int l = 0; l < engine.capture_layer_num; ++l) {
    result.drive.push_back(engine.linear_norms_pos.at<double>(0, l));
  }
  const auto full_scale = static_cast<double>(engine.InitY[3 * colour]);
  for (int k = 0; k < engine.coef_layer_num; ++k) {
    const double position = engine.pos_hardware.at<int32_t>(0, k);
    result.position.push_back(position);
    result.target.push_back(position / result.gray_max * full_scale *
                            (1 - engine.rgb_lum_dec_ratio[colour]));
  }
  return result;
}

int32_t MultiLayerCoeff::Compute(const Meters* red, const Meters* green, const Meters* blue) {
  if (!HasLumParameters()) {
    return Fail(706, "MultiLayerCoeff::Compute--Error ::  Please SetParam before comput.");
  }
  // Borrowed for the call only, however it ends.
  struct Forget {
    MultiLayerCoeff& engine;
    ~Forget() { engine.KeepInput(nullptr, nullptr, nullptr); }
  };
  const Forget forget = {*this};
  if (iterate_count == -1 && red != nullptr && green != nullptr && blue != nullptr) {
    return ComputeNorm(*red, *green, *blue);
  }
  if (const int32_t status = TakeForIteration(red, green, blue); status != 0) {
    return status;
  }
  PellixInfo("MultiLayerCoeff::Compute Iteration");
  return IterateCompute();
}

// As SetInput; but a full list makes new coefficients, so it must first be sure that there is a
// step to take, or the old ones would be lost for nothing.
int32_t MultiLayerCoeff::TakeForIteration(const Meters* red, const Meters* green,
                                          const Meters* blue) {
  if (red == nullptr || green == nullptr || blue == nullptr || red->size() == 1) {
    return SetInput(red, green, blue);
  }
  PellixInfo("MultiLayerCoeff::SetInput");
  if (const int32_t status = TakeLayers(red, green, blue); status != 0) {
    return status;
  }
  const int32_t status = CheckStep("MultiLayerCoeff::IterateCompute");
  if (status == 0) {
    PrepareLists();
  }
  return status;
}

// The lists are set only when they are complete: memory may run out on the way.
int32_t MultiLayerCoeff::ComputeNorm(const Meters& red, const Meters& green, const Meters& blue) {
  PellixInfo("MultiLayerCoeff::SetInput");
  // One layer makes no response curve.
  if (red.size() == 1) {
    return Fail(701, "MultiLayerCoeff::SetInput--Error ::  Input data size not same.");
  }
  if (const int32_t status = TakeLayers(&red, &green, &blue); status != 0) {
    return status;
  }
  PellixInfo("MultiLayerCoeff::Compute Norm");
  const Meters* const meters[] = {&red, &green, &blue};
  std::vector<cv::Mat>* const coefs[] = {&coef_r, &coef_g, &coef_b};
  const cv::Size size(part_x_y_w_h.w, part_x_y_w_h.h);
  std::vector<cv::Mat> coef[3];
  std::vector<cv::Mat> segments[3];
  for (size_t c = 0; c < 3; ++c) {
    coef[c].swap(*coefs[c]);
    segments[c].swap(response_segments[c]);
  }
  for (size_t c = 0; c < 3; ++c) {
    RenewAll(coef[c], coef_layer_num, size, CV_32FC1);
    RenewAll(segments[c], keep_response_segments ? capture_layer_num : 0, size, CV_32FC2);
  }
  const InstructionSet set = ChooseInstructionSet();
  for (size_t c = 0; c < 3; ++c) {
    SolveColour({*meters[c], coef[c], segments[c]}, size, NormSolver(NormColourOf(*this, c), set));
  }
  for (size_t c = 0; c < 3; ++c) {
    coefs[c]->swap(coef[c]);
    response_segments[c].swap(segments[c]);
  }
  return 0;
}

}  // namespace multilayer

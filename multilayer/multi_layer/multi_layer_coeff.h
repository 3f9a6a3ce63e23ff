// The engine: from measurements at several gray layers to one coefficient per LED, primary and
// layer.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <opencv2/core/mat.hpp>

#include "multilayer/color/chroma.h"
#include "multilayer/io/metadata.h"
#include "multilayer/meter/led_meter.h"

namespace multilayer {

class WhiteCoeff;
enum class Fold;

// One calibration of one partition. Colours always stand in the order red, green, blue. Every
// operation that can fail returns a status, 0 for success (multilayer/api/multilayer.h lists them),
// and logs one line when it refuses. Three states: without parameters (pos_hardware is empty), with
// parameters (a setter returned 0), computed (the coefficient lists hold coef_layer_num matrices a
// colour). Not thread-safe: one engine belongs to one thread at a time; engines share nothing, and
// a copy of an engine shares only matrices that neither changes in place.
class MultiLayerCoeff {
 public:
  // --- State, in the order in which it is defined ------------------------------------------------

  // The partition of the first measurement; all -1 while unbound.
  PartRecord part_x_y_w_h = {-1, -1, -1, -1, -1, -1};
  int32_t capture_layer_num = -1;  // captured gray layers; -1 when unset
  int32_t bit_width = -1;          // of the coefficient positions, 16..24
  int32_t coef_layer_num = -1;     // coefficient layers to produce; -1 when unset
  // CV_32SC1, 3 x coef_layer_num, rows equal: gray position of each coefficient layer, 0..grayMax.
  cv::Mat pos_hardware = cv::Mat_<int32_t>();
  // CV_32SC1, 3 x coef_layer_num, rows equal: base-two logarithm of the step to each position.
  cv::Mat gap_hardware = cv::Mat_<int32_t>();
  // 3 fractions by which the target luminance of each colour is lowered.
  std::vector<double> rgb_lum_dec_ratio;
  // The result: CV_32FC1, partition h x w, one matrix a coefficient layer. 1.0 = no correction.
  std::vector<cv::Mat> coef_r;
  std::vector<cv::Mat> coef_g;
  std::vector<cv::Mat> coef_b;
  // CV_32FC2, partition h x w, one matrix a colour and capture layer: slope and intercept of the
  // response segment that ends at that layer. See keep_response_segments.
  std::array<std::vector<cv::Mat>, 3> response_segments;
  int32_t grayMax = 0;         // 2^bit_width - 1
  int32_t iterate_count = -1;  // -1: one pass over all layers (Norm); else iteration steps done
  // Captured gray levels: as given by the plain setter, ascending by the others.
  std::vector<int32_t> captureLayer;
  // For each level as the caller gave it, its place in ascending order.
  std::vector<int32_t> iterate_layer_order;
  // CV_64FC1, 3 x capture_layer_num: linear drive of each measured layer, a fraction of full scale.
  cv::Mat linear_norms_pos = cv::Mat_<double>();
  // The 3 x 3 rgb_to_y matrix by rows; 0, 3 and 6 are the full-scale luminance of R, G and B.
  std::array<float, 9> InitY = {};
  // The measurements of the running computation; borrowed.
  const std::vector<LedMeter*>* input_r = nullptr;
  const std::vector<LedMeter*>* input_g = nullptr;
  const std::vector<LedMeter*>* input_b = nullptr;
  const float* target_white = nullptr;  // X, Y, Z of the target white; borrowed
  const float* rgb_to_xyz = nullptr;    // 9 values, primary by primary; borrowed
  // Measured primaries for white mode; empty until SetRGBXYZ.
  ChromaXYZ xyz_r;
  ChromaXYZ xyz_g;
  ChromaXYZ xyz_b;
  int32_t singular_total = -1;  // LEDs skipped by the white steps, summed up

  // Whether a Norm computation leaves its response segments behind. They weigh twice the
  // measurements, and no operation reads them later: the C interface, through which nobody can see
  // them, turns this off. Reset does not change it.
  bool keep_response_segments = true;

  // --- Parameters --------------------------------------------------------------------------------

  // Sets luminance parameters: `iterate` -1 calls the plain SetParam, any other value the iterative
  // one with that starting count. Arguments as there.
  int32_t SetParamLum(const cv::Mat& gamma_table, const std::vector<double>& ratios,
                      const float* rgb_to_y, const std::vector<int32_t>& capture_layers,
                      int32_t iterate, int32_t coef_layers, int32_t bits);

  // Plain luminance mode (Norm).
  // `gamma_table`: 3 rows (R, G, B) x at least 256 columns of int32 (read as int32 whatever the
  //   type, of at least 4 bytes): column = gray level, value = linear output. Only the red row is
  //   used.
  // `ratios`: exactly 3 values. `rgb_to_y`: 9 values, of which 0, 3 and 6 must be positive.
  // `capture_layers`: 1 to `coef_layers` columns of the gamma table, ascending.
  // `coef_layers`: 1 to kMaxCoefLayers. `bits`: 16..24.
  // Returns 0, or 9: the engine is then without parameters, the fields it stored stay visible.
  // Everything is copied.
  int32_t SetParam(const cv::Mat& gamma_table, const std::vector<double>& ratios,
                   const float* rgb_to_y, const std::vector<int32_t>& capture_layers,
                   int32_t coef_layers, int32_t bits);

  // Iterative luminance mode, starting at step `iterate`; `capture_layers` stand in the order in
  // which they will be measured.
  int32_t SetParam(const cv::Mat& gamma_table, const std::vector<double>& ratios,
                   const float* rgb_to_y, const std::vector<int32_t>& capture_layers,
                   int32_t iterate, int32_t coef_layers, int32_t bits);

  // The checks that both luminance setters share, then the layer positions from captureLayer.
  int32_t SetPara(const cv::Mat& gamma_table, int32_t bits, const std::vector<double>& ratios,
                  const float* rgb_to_y, int32_t coef_layers);

  // White mode, starting at step `iterate`. `xyz` (9 floats: X, Y, Z of red, green, blue) and
  // `white` (3 floats) are borrowed until the last white computation. Returns 0 or 9, as SetParam.
  int32_t SetParamWhite(const cv::Mat& gamma_table, const float* xyz, const float* white,
                        const std::vector<int32_t>& capture_layers, int32_t coef_layers,
                        int32_t iterate, int32_t bits);

  // The measured primaries of every LED for white mode, used instead of the nine-float matrix.
  // Planes are shared. Returns 0, or 9 when a bundle is empty or their sizes differ.
  int32_t SetRGBXYZ(const ChromaXYZ& red, const ChromaXYZ& green, const ChromaXYZ& blue);

  // ratio[i] = 1 - (1 - own[i]) / (1 - other[i]) for three colours: what is left to lower when the
  // other ratios are already applied. Returns 0; 9 unless both hold 3 entries, or when an entry of
  // `other` is exactly 1 (earlier entries of `ratio` are then written).
  static int32_t GetLumDecRatio(const std::vector<double>& own, const std::vector<double>& other,
                                std::vector<double>& ratio);

  // --- Luminance ---------------------------------------------------------------------------------

  // Computes the coefficients from one measurement a colour and captured layer (Norm), or refines
  // them with one measurement a colour (iteration). The records are borrowed during the call.
  // Each record: part, layer, chroma CV_32FC1 and state CV_8UC1, both partition h x w.
  // Returns 0; 1 null list or record; 701 list lengths; 702 layers differ between colours; 705 no
  // step left; 706 no parameters; 9 or 12 a record was refused. On 9 for lack of memory the lists
  // of coefficients are empty.
  int32_t Compute(const std::vector<LedMeter*>* red, const std::vector<LedMeter*>* green,
                  const std::vector<LedMeter*>* blue);

  // Takes the measurements in: Input, or for a single record its checks alone.
  int32_t SetInput(const std::vector<LedMeter*>* red, const std::vector<LedMeter*>* green,
                   const std::vector<LedMeter*>* blue);

  // Checks the measurements of all layers, copies the partition and the layers' linear drive, and
  // makes response segments of (0, 0) and coefficients of 1.0.
  int32_t Input(const std::vector<LedMeter*>* red, const std::vector<LedMeter*>* green,
                const std::vector<LedMeter*>* blue);

  // One step of the luminance iteration, from the first record of each colour that SetInput keeps:
  // multiplies the layers of the step (docs/numerics.md) by target / measured of every usable LED.
  // Step 0 starts new coefficients and applies the decrease ratios; later steps aim at full scale,
  // so hand in measurements that are aligned to the full-scale mean. Steps 0..capture_layer_num.
  // Returns 0; 705 no step left; 706 the last setter was refused, or at a later step, coefficients
  // of another size or number; 9 no measurement, or layers that are not those of the parameters. A
  // refusal changes nothing.
  int32_t IterateCompute();

  // --- White -------------------------------------------------------------------------------------

  // One white step: solves, for every LED of `part`, the gains that move the measured `white` (at
  // full scale) to the target, and adds gain - 1 to the layers of the step. Step 0 sets them.
  // Returns 0; 1 no target white; 705 no step left; 706 the last setter was refused, or at a later
  // step, coefficients of another size or number; 9 the bundle, the partition or the primaries are
  // refused. An invalid bundle, null target and null matrix are refused without a log line. A
  // refusal changes nothing but the partition, which the first step binds.
  int32_t ComputeWhite(const ChromaXYZ& white, const PartRecord& part);

  // Adds the correction of one white step to the one layer that was captured at `cur_gray_value`;
  // layers above the captured ones are not touched. Returns 0; 1; 706 before any computation or
  // without its coefficients; 707 a level that was not captured; 9 as ComputeWhite.
  int32_t ComputeWhiteSingle(const ChromaXYZ& white, int32_t cur_gray_value);

  // --- Results -----------------------------------------------------------------------------------

  // pos_hardware or gap_hardware: a header that shares the elements. Empty (and logged) when unset.
  cv::Mat GetPosForHardware() const;
  cv::Mat GetGapForHardware() const;

  // Back to the constructed state; bit_width becomes 0 and the ratios three zeros.
  void Reset();

  // ".mlcoefs" files and buffers. Save: 0; 5 coef_r empty; 8 wrong extension; 4 cannot be opened.
  // Load: 0, also (unchanged and silent) for a file without the byte-order mark; 8; 2 cannot be
  // opened; 3 other version; 9 contents that no valid file can carry.
  // ToBuffer (size: capacity in, length out): 0; 1 null; 13 too small. FromBuffer: 0; 1; 10 no
  // mark; 3; 9. GetBufferSize: 0; 1 null; 5 a coefficient list is empty.
  // A failed read leaves the engine as it was. A stream that ends early reads as 0 beyond its end.
  // Loading does not set grayMax or captureLayer: call a setter before the next computation.
  int32_t Save(const std::string& fullname) const;
  int32_t Load(const std::string& fullname);
  int32_t ToBuffer(uint8_t* buffer, uint64_t* size) const;
  int32_t FromBuffer(const uint8_t* buffer, uint64_t size);
  int32_t GetBufferSize(uint64_t* size) const;

  // Writes every coefficient matrix as an 8-bit PNG, scaled so that its largest magnitude is 255:
  // prefix + "MLCoef_Red_Layer_" (Green, Blue) + layer from 0 + ".png". The prefix is used as it
  // is: end it with "/" to name a folder. Failed writes are not reported. Returns 0; 703 when a
  // coefficient list is empty.
  int32_t ExportCoef2Img(const std::string& prefix) const;

  // Prints the parameters as aligned text on standard output.
  void Info() const;

  // Far more layers than make sense; and every count up to here can be written and read back, even
  // of a single LED, within the memory that a reader may claim.
  static constexpr int32_t kMaxCoefLayers = 16384;
  // Every matrix of a partition must fit a MultiLayerMat, whose size is an int32 of bytes.
  static constexpr int32_t kMaxLeds = multilayer::kMaxLeds;

 private:
  using Meters = std::vector<LedMeter*>;

  int32_t Accept(int32_t status);
  bool HasLumParameters() const;
  void SortCaptureLayers(const std::vector<int32_t>& levels);
  int32_t CheckLayers(const char* operation, const cv::Mat& gamma_table, int32_t coef_layers) const;
  int32_t InitLayers(const char* operation, const cv::Mat& gamma_table, int32_t coef_layers);

  int32_t TakeSingle(const Meters* red, const Meters* green, const Meters* blue);
  int32_t TakeLayers(const Meters* red, const Meters* green, const Meters* blue);
  int32_t TakeLinearNorms(const Meters& red, const Meters& green, const Meters& blue);
  int32_t CheckShape(const LedMeter& record) const;
  void PrepareLists();
  void KeepInput(const Meters* red, const Meters* green, const Meters* blue);

  int32_t TakeForIteration(const Meters* red, const Meters* green, const Meters* blue);
  int32_t ComputeNorm(const Meters& red, const Meters& green, const Meters& blue);

  int32_t CheckStep(const char* operation) const;
  bool FitsPartition(const cv::Mat& coef) const;
  bool HoldsLayers() const;
  void MakeCoefs();
  void UnshareCoefs();
  std::array<std::vector<cv::Mat>*, 3> ColourLists();
  int32_t PrepareWhiteStep(const ChromaXYZ& white, const PartRecord& part, WhiteCoeff& step) const;
  int32_t TakeWhiteStep(const WhiteCoeff& step, const ChromaXYZ& white,
                        const std::vector<int32_t>& layers, Fold fold, size_t captured);

  bool setter_failed_ = false;  // the last setter: what is loaded afterwards is no parameter
};

}  // namespace multilayer

// Coefficient images, to a file system in memory. The floor reads the coefficients and writes the
// 8-bit images as they are, uncompressed and to memory.
#include <filesystem>
#include <string>
#include <unistd.h>

#include "bench/cases.h"
#include "bench/wall.h"

namespace multilayer::bench {
namespace {

class Images : public Computation {
 public:
  explicit Images(cv::Size size) : Computation(size), engine_(Calibrated(size)) {
    std::filesystem::create_directory(folder_);
    for (int32_t k = 0; k < 3 * kCoefLayers; ++k) {
      images_.emplace_back(size, CV_8UC1, cv::Scalar(1));
    }
  }
  ~Images() override { std::filesystem::remove_all(folder_); }

  void Shipped() override { Must(engine_.ExportCoef2Img(folder_ + "/")); }

  Touched Memory() override {
    Touched memory = {.read = {}, .updated = {}, .written = images_};
    for (const Mats* coefs : {&engine_.coef_r, &engine_.coef_g, &engine_.coef_b}) {
      memory.read.insert(memory.read.end(), coefs->begin(), coefs->end());
    }
    return memory;
  }

 private:
  MultiLayerCoeff engine_;
  std::string folder_ = "/dev/shm/multilayer_bench_" + std::to_string(getpid());
  Mats images_;
};

}  // namespace

void AddImageCases(std::vector<Case>& cases) { cases.push_back({"images", Make<Images>}); }

}  // namespace multilayer::bench

// One simulated tile, repeated.
#include "bench/wall.h"

#include <memory>

#include "bench/computation.h"
#include "simulation/measure.h"

namespace multilayer::bench {
namespace {

constexpr int32_t kTile = 256;

struct Tile {
  Tile() {
    simulation::WallParameters wall;
    wall.screen_w = kTile;
    wall.screen_h = kTile;
    parameters.gamma_table = simulation::MakeGammaTable(256, kBits, 2.2);
    const simulation::Scene scene = {wall, simulation::Controller(parameters.gamma_table, kBits),
                                     simulation::Camera({})};
    const auto truth = simulation::MakePartition(wall, simulation::WholeScreen(wall));
    layers = scene.Measure(truth, kLevels);
    white = scene.MeasureWhite(truth, kLevels.back());
    primaries = scene.MeasurePrimaries(truth, kLevels.back());
    for (size_t c = 0; c < 3; ++c) {
      parameters.rgb_to_y[3 * c] = static_cast<float>(wall.full_scale[c]);
      parameters.white[c] = 0.95F * Mean(white[c]);
      for (size_t k = 0; k < 3; ++k) {
        parameters.rgb_to_xyz[3 * c + k] = Mean(primaries[c][k]);
      }
    }
  }

  static float Mean(const LedMeter& meter) { return static_cast<float>(cv::mean(meter.chroma)[0]); }

  Parameters parameters;
  simulation::MeasuredLayers layers;
  simulation::MeasuredColour white;
  simulation::MeasuredPrimaries primaries;
};

const Tile& TheTile() {
  static const Tile tile;
  return tile;
}

ChromaXYZ Bundle(const simulation::MeasuredColour& colour, cv::Size size) {
  return {Repeat(colour[0].chroma, size), Repeat(colour[1].chroma, size),
          Repeat(colour[2].chroma, size)};
}

template <class Record>
std::unique_ptr<Record> Copy(const std::unique_ptr<Record>& record) {
  return std::make_unique<Record>(*record);
}

}  // namespace

const Parameters& WallParameters() { return TheTile().parameters; }

cv::Mat Repeat(const cv::Mat& tile, cv::Size size) {
  cv::Mat mat(size, tile.type());
  for (int y = 0; y < size.height; y += tile.rows) {
    for (int x = 0; x < size.width; x += tile.cols) {
      const int w = std::min(tile.cols, size.width - x);
      const int h = std::min(tile.rows, size.height - y);
      tile(cv::Rect(0, 0, w, h)).copyTo(mat(cv::Rect(x, y, w, h)));
    }
  }
  return mat;
}

PartRecord PartOf(cv::Size size) {
  return {0, 0, size.width, size.height, size.width, size.height};
}

LedMeter Measured(cv::Size size, size_t primary, size_t level) {
  const LedMeter& tile = TheTile().layers[primary][level];
  LedMeter meter;
  meter.part = std::make_unique<PartRecord>(PartOf(size));
  meter.layer = Copy(tile.layer);
  meter.panel = Copy(tile.panel);
  meter.capture = Copy(tile.capture);
  meter.color = tile.color;
  meter.type = tile.type;
  meter.state = Repeat(tile.state, size);
  meter.chroma = Repeat(tile.chroma, size);
  return meter;
}

LedMeter MeasuredComplete(cv::Size size, size_t primary, size_t level) {
  LedMeter meter = Measured(size, primary, level);
  meter.pos = Repeat(TheTile().layers[primary][level].pos, size);
  return meter;
}

ChromaXYZ MeasuredWhite(cv::Size size) { return Bundle(TheTile().white, size); }

std::array<ChromaXYZ, 3> MeasuredPrimaries(cv::Size size) {
  const simulation::MeasuredPrimaries& primaries = TheTile().primaries;
  return {Bundle(primaries[0], size), Bundle(primaries[1], size), Bundle(primaries[2], size)};
}

MultiLayerCoeff Calibrated(cv::Size size) {
  const cv::Size tile(kTile, kTile);
  std::array<std::vector<LedMeter>, 3> meters;
  std::array<std::vector<LedMeter*>, 3> pointers;
  for (size_t c = 0; c < 3; ++c) {
    for (size_t l = 0; l < kLevels.size(); ++l) {
      meters[c].push_back(Measured(tile, c, l));
    }
    pointers[c] = simulation::Pointers(meters[c]);
  }
  const Parameters& wall = WallParameters();
  MultiLayerCoeff engine;
  engine.keep_response_segments = false;
  Must(engine.SetParam(wall.gamma_table, wall.ratios, wall.rgb_to_y.data(), kLevels, kCoefLayers,
                       kBits));
  Must(engine.Compute(&pointers[0], &pointers[1], &pointers[2]));
  engine.part_x_y_w_h = PartOf(size);
  for (std::vector<cv::Mat>* list : {&engine.coef_r, &engine.coef_g, &engine.coef_b}) {
    for (cv::Mat& coef : *list) {
      coef = Repeat(coef, size);
    }
  }
  return engine;
}

}  // namespace multilayer::bench

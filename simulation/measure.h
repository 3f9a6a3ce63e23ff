// A wall, its controller and a camera in front of it: all measurements of a partition at once.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "multilayer/coeff/chroma_coeff.h"
#include "multilayer/meter/led_meter.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "simulation/camera.h"
#include "simulation/colour.h"
#include "simulation/display.h"
#include "simulation/parameters.h"
#include "simulation/wall.h"

namespace multilayer::simulation {

// Coefficients of red, green and blue; without any, the wall is uncorrected.
using Correction = std::array<CoefficientStack, 3>;

// What the controller gets from a computed engine. The matrices are shared.
Correction CorrectionOf(const MultiLayerCoeff& engine);

// Measurements of red, green and blue, one record a level.
using MeasuredLayers = std::array<std::vector<LedMeter>, 3>;

// CIE X, Y and Z of one colour, three records of one layer.
using MeasuredColour = std::array<LedMeter, 3>;

// Those of red, green and blue.
using MeasuredPrimaries = std::array<MeasuredColour, 3>;

// One colour's records as the engine takes them; they must outlive the list.
std::vector<LedMeter*> Pointers(std::vector<LedMeter>& records);

struct Scene {
  WallParameters wall;
  Controller controller;
  Camera camera;
  // Columns and rows of the sparse shots that every measurement is accumulated from; 1 x 1 is one
  // photograph of all LEDs. The measurements are the same, bit for bit.
  cv::Size shots = {1, 1};
  Colours colours = Colours(wall);

  // Measures what stands before the camera, as `shots` says: by LedMeter::Add if there are several.
  // `number` as Camera::Photograph.
  LedMeter Take(const Subject& subject, uint64_t number) const;

  // True luminance of one primary (CV_64FC1, cd/m^2) while the wall shows a gray level.
  cv::Mat Shine(const PartitionTruth& partition, size_t primary, int32_t level,
                const Correction& correction) const;

  // Shows and photographs every primary at every level. The layer at place i gets the index i and
  // the level's linear norm, and is shot number `first_shot` + i: count on to have fresh noise.
  MeasuredLayers Measure(const PartitionTruth& partition, const std::vector<int32_t>& levels,
                         const Correction& correction = {}, uint64_t first_shot = 0) const;

  // True colour of the white, the sum of the primaries, while the wall shows a gray level.
  Tristimulus ShineWhite(const PartitionTruth& partition, int32_t level,
                         const Correction& correction) const;

  // True colour while the wall shows levels of red, green and blue through a chroma set: 0 for the
  // primaries that are off.
  Tristimulus ShineMixed(const PartitionTruth& partition, const std::array<int32_t, 3>& levels,
                         const ChromaCoeff& set) const;

  // Photographs the white, once through each filter. The layer's index is 0.
  MeasuredColour MeasureWhite(const PartitionTruth& partition, int32_t level,
                              const Correction& correction = {}, uint64_t shot = 0) const;

  // Photographs each primary of the uncorrected wall, once through each filter.
  MeasuredPrimaries MeasurePrimaries(const PartitionTruth& partition, int32_t level,
                                     uint64_t shot = 0) const;
};

}  // namespace multilayer::simulation

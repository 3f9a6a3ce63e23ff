// Every number of the simulated wall and camera, with its unit and where it comes from.
#pragma once

#include <array>
#include <cstdint>

namespace multilayer::simulation {

// Colours stand in the order red, green, blue.
struct WallParameters {
  uint64_t seed = 1;
  // ... to be completed: geometry (screen_w, screen_h, module and driver sizes), full-scale
  // luminances, spreads, turn-on time, dead fraction.
};

struct CameraParameters {
  uint64_t seed = 1;
  // ... electrons per LED at full exposure, read noise, pixels per LED.
};

}  // namespace multilayer::simulation

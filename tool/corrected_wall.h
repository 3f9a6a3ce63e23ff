// The simulated wall of a job with the coefficients that calibrate left, checked to be this job's.
#pragma once

#include <filesystem>
#include <string>

#include "simulation/measure.h"
#include "tool/calibration.h"
#include "tool/job.h"
#include "tool/truth.h"

namespace multilayer::tool {

class CorrectedWall {
 public:
  // Reads the truth and the record of the calibration; without a record, the coefficients must be
  // those of one pass. Throws kFileAccess, kBrokenFile, and kRefused for targets that are not the
  // job's.
  CorrectedWall(const Job& job, const std::filesystem::path& coefficients);

  struct Part {
    simulation::PartitionTruth truth;
    simulation::Correction correction;
  };
  // Throws kFileAccess, kBrokenFile, kRefused.
  Part Load(const std::string& partition) const;

  const Job& job() const { return job_; }
  const std::filesystem::path& folder() const { return folder_; }
  const Calibration& calibration() const { return calibration_; }
  const simulation::Scene& scene() const { return scene_; }

  // As a layer of the camera.
  LayerRecord Layer(int32_t level) const { return {0, scene_.controller.LinearNorm(level), level}; }
  // Linear drive of a level, as its coefficients count it.
  double Drive(int32_t level) const;

 private:
  [[noreturn]] void Refuse(const std::filesystem::path& file) const;

  const Job& job_;
  std::filesystem::path folder_;
  Truth truth_;
  Calibration calibration_;
  simulation::Scene scene_;
};

}  // namespace multilayer::tool

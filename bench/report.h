// The measurements as a table and as JSON.
#pragma once

#include <string>
#include <vector>

#include "bench/measure.h"

namespace multilayer::bench {

void PrintHeader();
void PrintRow(const Measurement& measurement);

// False if the file cannot be written.
bool WriteJson(const std::string& fullname, const std::vector<Measurement>& measurements);

}  // namespace multilayer::bench

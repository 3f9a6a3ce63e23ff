// The subcommands. Each adds itself and its arguments.
#pragma once

#include "tool/command_line.h"

namespace multilayer::tool {

void AddSimulate(CommandLine& line);
void AddCalibrate(CommandLine& line);
void AddVerify(CommandLine& line);
void AddInfo(CommandLine& line);
void AddMean(CommandLine& line);
void AddRepair(CommandLine& line);
void AddAlign(CommandLine& line);
void AddPoints(CommandLine& line);
void AddComputeLum(CommandLine& line);
void AddGamut(CommandLine& line);
void AddComputeChroma(CommandLine& line);
void AddMerge(CommandLine& line);
void AddCombine(CommandLine& line);
void AddAssemble(CommandLine& line);

}  // namespace multilayer::tool

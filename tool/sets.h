// What the subcommands share about single-layer sets: their two types, by extension, their planes
// and the table of these.
#pragma once

#include <string>
#include <vector>

#include "multilayer/coeff/chroma_coeff.h"
#include "multilayer/coeff/lum_coeff.h"
#include "multilayer/io/container.h"
#include "tool/files.h"

namespace multilayer::tool {

struct FileReport;

inline constexpr const char* kLum = ".lumcoeff";
inline constexpr const char* kChroma = ".chromacoeff";

// Calls `run` with an empty set of the type that the name of a file says.
template <class Run>
void ForSetOf(const std::string& file, const Run& run) {
  if (HasExtension(file, kLum) == 0) {
    run(LumCoeff());
  } else {
    run(ChromaCoeff());
  }
}

// Throws kWrongCall unless both names end with the same extension.
void RequireSameType(const std::string& file, const std::string& first);

// Sets of one type on one screen. Throws kFileAccess, kBrokenFile, kRefused.
template <class Set>
std::vector<Set> LoadSets(const std::vector<std::string>& files);

template <class Set>
std::vector<Set*> Pointers(std::vector<Set>& sets) {
  std::vector<Set*> pointers;
  pointers.reserve(sets.size());
  for (Set& set : sets) {
    pointers.push_back(&set);
  }
  return pointers;
}

// Min, mean and max of the finite values of every plane, and how many are not.
std::string PlaneTable(const FileReport& report);

// "p00: 80x90 LEDs at (0, 0)".
std::string TextOf(const PartRecord& part);

}  // namespace multilayer::tool

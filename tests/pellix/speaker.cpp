// A host without logging of its own: says what its first argument asks for, through libpellix.so.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "pellix/pellix.h"

namespace {

// Logs when it is destroyed, after main and after the objects that the log may have made.
struct LastWords {
  ~LastWords() { PellixError("last words"); }
};
LastWords last_words;

// Prints what the three functions returned.
void SayAll() {
  const int error = PellixError("an error %d", 1);
  const int info = PellixInfo("an info %s", "two");
  const int debug = PellixDebug("a debug\nof two lines");
  std::printf("%d %d %d", error, info, debug);
}

void SayMuch() { PellixError("<%s>", std::string(200000, 'x').c_str()); }

void SayFromThreads() {
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < 100; ++i) {
        PellixError("thread %d line %d.", t, i);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

// A wide character that the "C" locale cannot write: the format cannot be applied.
void SayTheImpossible() { std::printf("%d", PellixError("impossible %ls", L"\u4e00")); }

}  // namespace

int main(int count, char** arguments) {
  const std::string what = count > 1 ? arguments[1] : "";
  if (what == "all") {
    SayAll();
  } else if (what == "much") {
    SayMuch();
  } else if (what == "threads") {
    SayFromThreads();
  } else if (what == "impossible") {
    SayTheImpossible();
  }
  std::fflush(stdout);
  return 0;
}

#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "bench/contenders/all_contenders.h"
#include "bench/figure.h"

namespace bench {

struct Options {
  std::vector<NamedDaemon> daemons;  ///< at least one
  Pace pace = Pace::thorough;
  bool differentKinds = false;
  bool printsTable = true;
  bool printsJson = false;
  std::string jsonFile;             ///< empty: standard output
  std::vector<std::string> wanted;  ///< parts of the figures' names; empty: all figures
};

struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

extern const char* const usage;

[[nodiscard]] Options parseOptions(const std::vector<std::string>& arguments);

}  // namespace bench

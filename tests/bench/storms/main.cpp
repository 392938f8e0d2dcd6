// Storms of all that a daemon serves, and what it costs. Usage: usb_rx_storms [STORM...]

#include <algorithm>
#include <exception>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "bench/storms/storms.h"

namespace {

using Storm = void (*)(bench::Figures&);

const std::vector<std::pair<std::string, Storm>> storms = {
    {"uevents", bench::stormWithUevents}, {"devices", bench::stormWithDevices},
    {"deaths", bench::stormWithDeaths},   {"queries", bench::stormWithQueries},
    {"costs", bench::compareCosts},
};

bool isWanted(const std::string& name, const std::vector<std::string>& wanted) {
  return wanted.empty() || std::find(wanted.begin(), wanted.end(), name) != wanted.end();
}

bool runStorms(const std::vector<std::string>& wanted) {
  bench::Figures figures;
  for (const auto& [name, run] : storms) {
    if (isWanted(name, wanted)) {
      run(figures);
    }
  }
  figures.print();
  return figures.allHold();
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const bool held = runStorms({argv + 1, argv + argc});
    std::cout << (held ? "\nEvery bound holds.\n" : "\nA bound is BROKEN.\n");
    return held ? 0 : 1;
  } catch (const std::exception& error) {
    std::cerr << "usb_rx_storms: " << error.what() << '\n';
    return 1;
  }
}

#include "bench/measurements/program_size.h"

#include <filesystem>
#include <string>

#include "bench/measured_unit.h"
#include "sim/error.h"
#include "sim/files.h"
#include "sim/process.h"

namespace bench {

namespace {

constexpr const char* strippedFile = "/sim/stripped";
constexpr const char* outputFile = "/sim/strip.out";

class ProgramSize : public Measurement {
 public:
  explicit ProgramSize(const Contender& contender) : program_(contender.program()), unit_(contender) {}

  double sample() override {
    sim::writeFile(outputFile, "");
    const sim::ProcessEnd end =
        sim::runProcess({"/usr/bin/strip", "-o", strippedFile, program_}, {}, outputFile, outputFile);
    if (end != sim::ProcessEnd::exited(0)) {
      throw sim::Error("strip has failed:\n" + sim::readFile(outputFile));
    }
    return static_cast<double>(std::filesystem::file_size(strippedFile));
  }

 private:
  std::string program_;
  MeasuredUnit unit_;
};

}  // namespace

Begin programSize() {
  return [](const Contender& contender) { return std::make_unique<ProgramSize>(contender); };
}

}  // namespace bench

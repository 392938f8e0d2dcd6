#include "bench/measurements/memory.h"

#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "bench/measured_unit.h"
#include "sim/descriptor.h"
#include "sim/error.h"

namespace bench {

namespace {

/** Pages of a program that was linked a moment ago would count as written to by its process. */
void writeToDisk(const std::string& program) {
  const sim::Descriptor file(::open(program.c_str(), O_RDONLY | O_CLOEXEC));
  if (::fsync(file.get()) != 0) {
    throw sim::systemError("fsync(" + program + ")");
  }
}

class OwnMemory : public Measurement {
 public:
  OwnMemory(const Contender& contender, int workers) : unit_(contender), workers_(workers) {
    writeToDisk(contender.program());
  }

  double sample() override {
    unit_.start();
    unit_.running().awaitListening();
    startWorkers();
    const long kilobytes = unit_.running().ownKilobytes();
    unit_.end();
    return static_cast<double>(kilobytes);
  }

 private:
  void startWorkers() {
    const std::vector<std::string> devices = unit_.addDevices(workers_);
    for (const std::string& device : devices) {
      unit_.kernel.plug(device);
      static_cast<void>(unit_.awaitLastStart(1));
    }
    unit_.running().awaitRest(devices.size());
    for (const std::string& device : devices) {
      unit_.sysfs.removeDevice(device);
    }
  }

  MeasuredUnit unit_;
  int workers_;
};

}  // namespace

Begin ownMemory(int workers) {
  return [workers](const Contender& contender) -> std::unique_ptr<Measurement> {
    if (workers > 0 && !contender.keepsWorkers()) {
      throw sim::Error("its workers cannot rest beside each other");
    }
    return std::make_unique<OwnMemory>(contender, workers);
  };
}

}  // namespace bench

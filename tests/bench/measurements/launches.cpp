#include "bench/measurements/launches.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "bench/measured_unit.h"

namespace bench {

namespace {

constexpr double nanosecondsPerMicrosecond = 1e3;
constexpr double nanosecondsPerMillisecond = 1e6;

class Launch : public Measurement {
 public:
  explicit Launch(const Contender& contender) : unit_(contender) {
    unit_.start();
    unit_.running().awaitListening();
    device_ = unit_.addDevices(1).front();
    static_cast<void>(Launch::sample());  // the first one reads its files from the disk
  }

  double sample() override {
    const long long begin = nanosecondsNow();
    unit_.kernel.plug(device_);
    const long long end = unit_.awaitLastStart(1);
    unit_.endWorkers(1);
    return static_cast<double>(end - begin) / nanosecondsPerMicrosecond;
  }

 private:
  MeasuredUnit unit_;
  std::string device_;
};

/** A device with two interfaces is announced by seven events, of which one is of interest. */
class Storm : public Measurement {
 public:
  explicit Storm(const Contender& contender) : unit_(contender) {
    unit_.start();
    unit_.running().awaitListening();
    devices_ = unit_.addDevices(10);
    for (const std::string& device : devices_) {
      for (const char* interface : interfaces) {
        addInterface(device + interface);
      }
    }
    static_cast<void>(Storm::sample());
  }

  double sample() override {
    const long long begin = nanosecondsNow();
    for (const std::string& device : devices_) {
      announce(device);
    }
    const long long end = unit_.awaitLastStart(devices_.size());
    unit_.endWorkers(devices_.size());
    return static_cast<double>(end - begin) / nanosecondsPerMicrosecond;
  }

 private:
  static constexpr std::array interfaces = {"/1:1.0", "/1:1.1"};

  void addInterface(const std::string& directory) {
    unit_.sysfs.makeDirectory(directory);
    unit_.sysfs.linkTo("/sys/bus/usb", directory + "/subsystem");
    unit_.sysfs.writeAttribute(directory, "uevent", "DEVTYPE=usb_interface\n");
  }

  void announce(const std::string& device) const {
    unit_.kernel.plug(device);
    for (const char* interface : interfaces) {
      announce("add", device + interface, "usb_interface");
      announce("bind", device + interface, "usb_interface");
    }
    announce("change", device, "usb_device");
    announce("bind", device, "usb_device");
  }

  void announce(const std::string& action, const std::string& directory, const std::string& type) const {
    constexpr std::string_view mountPoint = "/sys";
    unit_.kernel.send(action, directory.substr(mountPoint.size()), {{"SUBSYSTEM", "usb"}, {"DEVTYPE", type}});
  }

  MeasuredUnit unit_;
  std::vector<std::string> devices_;
};

class Coldplug : public Measurement {
 public:
  Coldplug(const Contender& contender, int devices) : unit_(contender), devices_(unit_.addDevices(devices)) {}

  double sample() override {
    const long long begin = nanosecondsNow();
    unit_.start(devices_);
    const long long end = unit_.awaitLastStart(devices_.size());
    unit_.end();
    return static_cast<double>(end - begin) / nanosecondsPerMillisecond;
  }

 private:
  MeasuredUnit unit_;
  std::vector<std::string> devices_;
};

}  // namespace

Begin launch() {
  return [](const Contender& contender) { return std::make_unique<Launch>(contender); };
}

Begin storm() {
  return [](const Contender& contender) { return std::make_unique<Storm>(contender); };
}

Begin coldplug(int devices) {
  return [devices](const Contender& contender) { return std::make_unique<Coldplug>(contender, devices); };
}

}  // namespace bench

#include "soak/options.h"

namespace soak {

namespace {

constexpr const char* otherSocketPath = "/var/run/soak_usb";

std::string randomKey(Random& random) {
  return secret + std::to_string(random.below(1000));
}

}  // namespace

std::vector<std::string> Options::arguments() const {
  std::string debug = "--debug=ctrl";
  debug += debugGeneric ? ",generic" : "";
  debug += debugKeyboard ? ",keyboard" : "";
  debug += debugScsi ? ",scsi" : "";
  std::vector<std::string> all{debug, "--stderr"};
  if (!classList.empty()) {
    all.push_back("--class=" + classList);
  }
  if (!link.inkey.empty()) {
    all.insert(all.end(), {"--keys", link.inkey, link.outkey});
  }
  if (socketPath != sim::LinkManager::usualPath) {
    all.push_back("--sock=" + socketPath);
  }
  all.push_back("--intf=" + link.interface);
  all.insert(all.end(), {link.host, link.port, link.speed});
  return all;
}

sim::LinkParameters randomLink(Random& random) {
  sim::LinkParameters link;
  link.host = random.word({"transmitter", "10.0.0.7", "host-with-a-long-name.example", "[fe80::1]"});
  link.port = random.word({"5000", "5000", "1", "65533", "65535", "0", "0"});
  link.speed = random.word({"high", "high", "full", "low", "FULL"});
  link.interface = random.word({"eth1", "eth0", "wlan0"});
  return link;
}

Options randomOptions(Random& random) {
  Options options;
  options.classList =
      random.word({"", "none", "keyboard", "scsi", "all", "all", "keyboard,scsi", "none,all"});
  const bool all = options.classList.ends_with("all");
  options.keyboards = all || options.classList.starts_with("keyboard");
  options.disks = all || options.classList.ends_with("scsi");
  options.debugGeneric = random.oneIn(3);
  options.debugKeyboard = random.oneIn(3);
  options.debugScsi = random.oneIn(3);
  if (random.oneIn(3)) {
    options.socketPath = otherSocketPath;
  }
  options.link = randomLink(random);
  if (random.oneIn(2)) {
    options.link.inkey = randomKey(random);
    options.link.outkey = randomKey(random);
  }
  return options;
}

}  // namespace soak

#include "soak/datagrams.h"

#include <map>
#include <sstream>

#include "sim/uevent.h"

namespace soak {

namespace {

constexpr std::size_t hugeSize = 100'000;
constexpr char nul = '\0';

std::string item(const std::string& text) {
  return text + nul;
}

std::string randomBytes(Random& random) {
  return random.bytes(1 + random.below(600));
}

std::string repeatedByUdev(const std::string& devpath) {
  return item("libudev") + std::string("\xfe\xed\xca\xfe", 4) + std::string(28, nul) + item("ACTION=add") +
         item("DEVPATH=" + devpath) + item("SUBSYSTEM=usb");
}

std::string withoutOneOfTwo(Random& random, const std::string& devpath) {
  return item("add@" + devpath) + item(random.oneIn(2) ? "ACTION=add" : "DEVPATH=" + devpath);
}

std::string pathOutsideOfTree(Random& random) {
  return sim::uevent("add",
                     random.word({"", "/", "/../dev", "/../sys/devices", "/no/such/device", "no-slash",
                                  "/devices/../class", "/../vel/quor.conf", "//bus//usb", "/devices/\xff"}));
}

}  // namespace

std::optional<Announcement> announcementIn(const std::string& datagram) {
  if (datagram.starts_with("libudev")) {
    return std::nullopt;
  }
  std::map<std::string, std::string> values;
  std::istringstream items(datagram);
  for (std::string item; std::getline(items, item, nul);) {
    const std::size_t equals = item.find('=');
    if (equals != std::string::npos) {
      values.emplace(item.substr(0, equals), item.substr(equals + 1));  // the first of one name counts
    }
  }
  if (!values.contains("ACTION") || !values.contains("DEVPATH")) {
    return std::nullopt;
  }
  return Announcement(values["ACTION"], values["DEVPATH"]);
}

std::string hugeDatagram(const std::string& devpath) {
  sim::UeventPairs pairs;
  for (std::size_t size = 0; size < hugeSize; size += 1000) {
    pairs.emplace_back("FILL" + std::to_string(size), std::string(1000, '='));
  }
  return sim::uevent("change", devpath, pairs);
}

std::string oddDatagram(Random& random, const std::vector<std::string>& devices) {
  const std::string devpath = devices.empty() ? "/devices/none" : random.pick(devices).substr(4);
  switch (random.below(9)) {
    case 0:
      return randomBytes(random);
    case 1:
      return repeatedByUdev(devpath);
    case 2:
      return withoutOneOfTwo(random, devpath);
    case 3:
      return pathOutsideOfTree(random);
    case 4:
      return hugeDatagram(devpath);
    case 5:
      return sim::uevent("add", '/' + std::string(300, 'y'));
    case 6:
      return sim::uevent(random.word({"", "ADD", "add ", "change", "remove", "bind", "of\ntwo lines"}),
                         devpath);
    case 7:
      return sim::uevent("change", devpath, {{"ACTION", "add"}, {"DEVPATH", "/none"}, {"", "nameless"}});
    default:
      return item("add@" + devpath) + item("DEVPATH=/none") + "ACTION=add";  // no NUL at the end
  }
}

}  // namespace soak

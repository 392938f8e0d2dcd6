#include "soak/made_device.h"

namespace soak {

namespace {

constexpr std::size_t longestProduct = 250;

struct InterfaceKind {
  std::uint8_t interfaceClass;
  std::uint8_t subclass;
  std::uint8_t protocol;
};

std::string randomInterface(Random& random) {
  static const std::vector<InterfaceKind> kinds = {{3, 1, 1},    {3, 0, 1},    {3, 1, 2},
                                                   {8, 6, 0x50}, {8, 2, 0x50}, {8, 5, 0x50},
                                                   {0x0b, 0, 0}, {1, 1, 0},    {0xff, 0, 0}};
  const InterfaceKind& kind = random.pick(kinds);
  std::string text = sim::interface(kind.interfaceClass, kind.subclass, kind.protocol);
  for (int i = random.between(0, 3); i > 0; --i) {
    text += sim::endpoint(static_cast<std::uint8_t>(random.oneIn(5) ? 1 : random.between(2, 15)));
  }
  return text;
}

std::string randomDescriptors(Random& random) {
  std::string interfaces;
  for (int i = random.between(0, 3); i > 0; --i) {
    interfaces += randomInterface(random);
  }
  const auto deviceClass = static_cast<std::uint8_t>(random.oneIn(6) ? 0xef : 0);
  return sim::deviceDescriptor(deviceClass, random.oneIn(6) ? 2 : 1) + sim::configuration(interfaces);
}

std::string damaged(Random& random, std::string descriptors) {
  const std::size_t at = random.below(descriptors.size());
  switch (random.below(4)) {
    case 0:
      return descriptors.substr(0, at);
    case 1:
      descriptors[at] = 0;
      return descriptors;
    case 2:
      descriptors[at] = static_cast<char>(random.below(256));
      return descriptors;
    default:
      return descriptors.insert(at, random.bytes(1 + random.below(8)));
  }
}

}  // namespace

std::string randomProduct(Random& random) {
  std::string product;
  switch (random.below(8)) {
    case 0:
      return "";
    case 1:
      return random.word(
          {"two\nlines", "100% %s%n", "  blanks  ", "Gr\xc3\xbcn", "\xff\xfe", "<0>x", "tab\t", "\n"});
    case 2:
      product.assign(1 + random.below(longestProduct), 'p');
      return product;
    default:
      return "Device " + std::to_string(random.below(1000));
  }
}

sim::UsbDevice usualDevice(Random& random, int port, const std::string& descriptors) {
  sim::UsbDevice device;
  device.name = "1-" + std::to_string(port);
  device.descriptors = descriptors;
  device.product = randomProduct(random);
  if (random.oneIn(8)) {
    device.product.reset();
  }
  device.speed = random.word({"480", "480", "12", "1.5", "5000", "480 "});
  return device;
}

sim::UsbDevice randomDevice(Random& random, int port) {
  std::string descriptors = randomDescriptors(random);
  if (random.oneIn(3)) {
    descriptors = damaged(random, descriptors);
  }
  sim::UsbDevice device = usualDevice(random, port, descriptors);
  device.deviceClass = random.word({"00", "00", "00", "ef", "09", "zz", ""});
  return device;
}

}  // namespace soak

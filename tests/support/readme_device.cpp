#include "support/readme_device.h"

#include "sim/device_recording.h"
#include "sim/files.h"

namespace support {

namespace {

/** The indented lines that follow the first line with this text in devices/README.md. */
std::string blockAfter(const std::string& text) {
  const std::string readme = sim::readFile(sim::recordingsFolder() + "/README.md");
  const std::string indent = "\n    ";
  const std::size_t place = readme.find(text);
  std::size_t begin = place == std::string::npos ? place : readme.find(indent, place);
  std::string block;
  while (begin != std::string::npos && readme.compare(begin, indent.size(), indent) == 0) {
    const std::size_t end = readme.find('\n', begin + 1);
    block += readme.substr(begin + indent.size(), end - begin - indent.size()) + "\n";
    begin = end;
  }
  return block;
}

}  // namespace

ReadmeDevice readmeDevice() {
  return {blockAfter("`scanner/about.txt`"), blockAfter("`scanner/tree.txt`")};
}

}  // namespace support

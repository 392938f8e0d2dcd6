#include "tools/recorder/sysfs_attribute.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "sim/descriptor.h"
#include "sim/error.h"

namespace sim {

namespace {

constexpr std::size_t pageSize = 4096;

std::optional<std::string> unlessForbidden(const std::string& path) {
  if (errno == EACCES || errno == EPERM) {
    throw systemError("reading " + path);
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> readAttribute(const std::string& path) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.isOpen()) {
    return unlessForbidden(path);
  }
  std::string content;
  std::array<char, pageSize> some{};
  ssize_t size = 0;
  while ((size = ::read(file.get(), some.data(), some.size())) > 0) {
    content.append(some.data(), static_cast<std::size_t>(size));
  }
  return size == 0 ? content : unlessForbidden(path);
}

std::string attributeText(const std::string& path) {
  std::string text = readAttribute(path).value_or("");
  if (text.ends_with('\n')) {
    text.pop_back();
  }
  return text;
}

}  // namespace sim

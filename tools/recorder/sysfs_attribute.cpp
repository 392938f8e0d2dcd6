#include "tools/recorder/sysfs_attribute.h"

#include <fcntl.h>

#include <cerrno>

#include "tools/recorder/error.h"
#include "ulx/file_descriptor.h"

namespace recorder {

std::optional<std::string> readAttribute(const std::string& path) {
  try {
    return ulx::FileDescriptor(path, O_RDONLY).readAll();
  } catch (const ulx::ErrnoException& error) {
    if (error.errorNumber == EACCES || error.errorNumber == EPERM) {
      throw systemError({"reading ", path}, error.errorNumber);
    }
    return std::nullopt;
  }
}

std::string attributeText(const std::string& path) {
  std::string text = readAttribute(path).value_or("");
  if (text.ends_with('\n')) {
    text.pop_back();
  }
  return text;
}

}  // namespace recorder

#include "ulx/format.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace ulx {

std::string formatString(const char* format, ...) {
  char* formatted = nullptr;
  std::va_list arguments;
  va_start(arguments, format);
  const int length = vasprintf(&formatted, format, arguments);
  va_end(arguments);
  if (length < 0) {
    throw "vasprintf failed";
  }
  const std::unique_ptr<char, decltype(&std::free)> owner(formatted, &std::free);
  return {formatted, static_cast<std::size_t>(length)};
}

}  // namespace ulx

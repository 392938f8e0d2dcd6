#include "config/parse_stream.h"

#ifdef INIPARSER_HAS_LOAD_FILE

ConfigDictionary* parseStream(FILE* stream, const char* path) {
  return iniparser_load_file(stream, path);
}

#else

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <string_view>

// Before version 4.2, iniparser loads files by name only. A writer may have moved another file to the path by
// now; the descriptor's name under /proc always leads to the open, locked file. This needs a mounted /proc
// and one more free descriptor, otherwise iniparser prints that it cannot open the file.
namespace {

constexpr std::size_t descriptorPathSize = 32;
constexpr std::size_t messageSize = 2048;  // fits any line of the file: ASCIILINESZ of iniparser is 1024

std::array<char, descriptorPathSize> descriptorPath{};
const char* filePath = nullptr;

// Prints iniparser's message with the file's path in place of the descriptor's name.
int printParseError(const char* format, ...) {
  std::array<char, messageSize> message{};
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(message.data(), message.size(), format, arguments);
  va_end(arguments);

  const std::string_view text = message.data();
  const std::size_t at = text.find(descriptorPath.data());
  if (at == std::string_view::npos) {
    return std::fputs(message.data(), stderr);
  }
  const char* rest = message.data() + at + std::strlen(descriptorPath.data());
  return std::fprintf(stderr, "%.*s%s%s", static_cast<int>(at), message.data(), filePath, rest);
}

}  // namespace

ConfigDictionary* parseStream(FILE* stream, const char* path) {
  std::snprintf(descriptorPath.data(), descriptorPath.size(), "/proc/self/fd/%d", fileno(stream));
  filePath = path;
  iniparser_set_error_callback(printParseError);
  ConfigDictionary* parsed = iniparser_load(descriptorPath.data());
  iniparser_set_error_callback(nullptr);
  return parsed;
}

#endif

#include "config/parse_stream.h"

#include <array>
#include <cstdarg>
#include <cstddef>
#include <string_view>

namespace {

constexpr std::size_t complaintSize = 4096;  // fits any line of a file and its path: ASCIILINESZ is 1024
using Complaint = std::array<char, complaintSize>;

// iniparser's callback has no argument of its own.
ConfigReporter reporter = nullptr;
bool hasComplained = false;

[[gnu::format(printf, 1, 0)]] Complaint formatComplaint(const char* format, std::va_list arguments) {
  Complaint complaint{};
  std::vsnprintf(complaint.data(), complaint.size(), format, arguments);
  return complaint;
}

Complaint withFileName(const Complaint& complaint);

int handleComplaint(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const Complaint complaint = formatComplaint(format, arguments);
  va_end(arguments);
  hasComplained = true;
  reporter(withFileName(complaint).data());
  return 0;
}

// Has iniparser's complaints handled during a scope.
class HandledComplaints {
 public:
  explicit HandledComplaints(ConfigReporter report) {
    reporter = report;
    hasComplained = false;
    iniparser_set_error_callback(handleComplaint);
  }
  HandledComplaints(const HandledComplaints&) = delete;
  HandledComplaints& operator=(const HandledComplaints&) = delete;
  ~HandledComplaints() { iniparser_set_error_callback(nullptr); }
};

// When memory runs out, iniparser complains and returns what it has so far: half of the settings.
ConfigDictionary* wholeOrNone(ConfigDictionary* parsed) {
  if (parsed != nullptr && hasComplained) {
    iniparser_freedict(parsed);
    return nullptr;
  }
  return parsed;
}

}  // namespace

#ifdef INIPARSER_HAS_LOAD_FILE

namespace {

Complaint withFileName(const Complaint& complaint) {
  return complaint;
}

}  // namespace

ConfigDictionary* parseStream(FILE* stream, const char* path, ConfigReporter report) {
  const HandledComplaints handled(report);
  return wholeOrNone(iniparser_load_file(stream, path));
}

#else

// Before version 4.2, iniparser loads files by name only. A writer may have moved another file to the path by
// now; the descriptor's name under /proc always leads to the open, locked file. This needs a mounted /proc
// and one more free descriptor, otherwise iniparser complains that it cannot open the file.
namespace {

constexpr std::size_t descriptorPathSize = 32;

std::array<char, descriptorPathSize> descriptorPath{};
const char* filePath = nullptr;

// The complaint with the file's path in place of the descriptor's name.
Complaint withFileName(const Complaint& complaint) {
  const std::string_view text = complaint.data();
  const std::string_view descriptor = descriptorPath.data();
  const std::size_t at = text.find(descriptor);
  if (at == std::string_view::npos) {
    return complaint;
  }
  Complaint named{};
  std::snprintf(named.data(), named.size(), "%.*s%s%s", static_cast<int>(at), text.data(), filePath,
                text.data() + at + descriptor.size());
  return named;
}

}  // namespace

ConfigDictionary* parseStream(FILE* stream, const char* path, ConfigReporter report) {
  std::snprintf(descriptorPath.data(), descriptorPath.size(), "/proc/self/fd/%d", fileno(stream));
  filePath = path;
  const HandledComplaints handled(report);
  return wholeOrNone(iniparser_load(descriptorPath.data()));
}

#endif

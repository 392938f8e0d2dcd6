#include "tools/recorder/recording_output.h"

#include <fcntl.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "tools/recorder/error.h"
#include "ulx/exceptions.h"
#include "ulx/file_descriptor.h"

namespace recorder {

namespace {

namespace fs = std::filesystem;

std::string digitsOf(char byte) {
  constexpr std::string_view digits = "0123456789abcdef";
  const auto value = static_cast<unsigned char>(byte);
  return {digits[value / 16U], digits[value % 16U]};
}

bool isPrintable(char byte) {
  return byte >= ' ' && byte <= '~';
}

std::string escapedByte(char byte) {
  switch (byte) {
    case '\n':
      return "\\n";
    case '\t':
      return "\\t";
    case '\\':
      return "\\\\";
    default:
      return isPrintable(byte) ? std::string(1, byte) : "\\x" + digitsOf(byte);
  }
}

/** A path ends at a blank, so it holds none itself. */
std::string escapedPath(const std::string& path) {
  std::string text;
  for (const char byte : path) {
    text += byte == ' ' ? "\\x20" : escapedByte(byte);
  }
  return text;
}

std::string aboutText(const DeviceRecording& recording, const std::string& kernel) {
  return escaped(recording.description) + "\nkernel: " + escaped(kernel) +
         "\nspeed: " + escaped(recording.speed) + "\nproduct: " + escaped(recording.product) +
         "\ndevice directory: " + escaped(recording.directory) +
         (recording.origin.empty() ? "" : "\norigin: " + escaped(recording.origin)) + "\n";
}

std::string attributeLine(const TreeEntry& attribute) {
  const std::string path = escapedPath(attribute.path);
  if (fs::path(attribute.path).filename() == "descriptors") {
    return "b " + path + " " + hexadecimal(attribute.content);
  }
  return "f " + path + (attribute.content.empty() ? "" : " " + escaped(attribute.content));
}

std::string treeLine(const TreeEntry& entry) {
  switch (entry.kind) {
    case TreeEntry::Kind::directory:
      return "d " + escapedPath(entry.path);
    case TreeEntry::Kind::link:
      return "l " + escapedPath(entry.path) + " " + escaped(entry.content);
    case TreeEntry::Kind::file:
      return attributeLine(entry);
  }
  throw Error("an entry of no kind: " + entry.path);
}

std::string treeText(const std::vector<TreeEntry>& tree) {
  std::string text;
  for (const TreeEntry& entry : tree) {
    text += treeLine(entry) + "\n";
  }
  return text;
}

/** The items of a datagram, each of which ends with a NUL, as lines. */
std::string itemLines(const std::string& datagram) {
  std::string lines;
  for (const char byte : datagram) {
    lines += byte == '\0' ? "\n" : escapedByte(byte);
  }
  return lines;
}

std::string eventsText(const std::vector<RecordedEvent>& events) {
  std::string text;
  for (const RecordedEvent& event : events) {
    text += (text.empty() ? "@ " : "\n@ ") + std::to_string(event.milliseconds) + " ms\n" +
            itemLines(event.datagram);
  }
  return text;
}

void writeFile(const std::string& path, const std::string& content) {
  try {
    ulx::FileDescriptor(path, O_WRONLY | O_CREAT | O_TRUNC).writeAll(content.data(), content.size());
  } catch (const ulx::ErrnoException& error) {
    throw systemError({"writing ", path}, error.errorNumber);
  }
}

void makeFolder(const std::string& folder) {
  std::error_code error;
  const bool isNew = fs::create_directory(folder, error);
  if (error) {
    throw systemError({"making ", folder}, error.value());
  }
  if (!isNew) {
    throw Error("there is something of that name already: " + folder);
  }
}

void writeFiles(const DeviceRecording& recording, const std::string& kernel, const std::string& folder) {
  writeFile(folder + "/about.txt", aboutText(recording, kernel));
  writeFile(folder + "/tree.txt", treeText(recording.tree));
  writeFile(folder + "/plug.txt", eventsText(recording.plugEvents));
  if (!recording.unplugEvents.empty()) {
    writeFile(folder + "/unplug.txt", eventsText(recording.unplugEvents));
  }
}

}  // namespace

std::string escaped(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes) {
    text += escapedByte(byte);
  }
  return text;
}

std::string hexadecimal(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes) {
    text += digitsOf(byte);
  }
  return text;
}

void requireNewFolder(const std::string& folder) {
  if (fs::exists(fs::symlink_status(folder))) {
    throw Error("there is something of that name already: " + folder);
  }
  const fs::path place = fs::absolute(folder);
  const fs::path above = (place.has_filename() ? place : place.parent_path()).parent_path();
  if (::access(above.c_str(), W_OK | X_OK) != 0) {
    throw systemError({"making ", folder}, errno);
  }
}

void writeRecording(const DeviceRecording& recording, const std::string& kernel, const std::string& folder) {
  makeFolder(folder);
  try {
    writeFiles(recording, kernel, folder);
  } catch (const Error&) {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
    throw;
  }
}

std::string kernelRelease() {
  utsname system{};
  if (::uname(&system) != 0) {
    throw systemError("uname()", errno);
  }
  return static_cast<const char*>(system.release);
}

}  // namespace recorder

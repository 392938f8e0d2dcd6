#include "support/held_attribute.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "sim/error.h"
#include "sim/wait.h"

namespace support {

namespace {

/** Opened for both directions: a reader then neither waits in its open() nor finds the end of the file. */
sim::Descriptor fifoInPlaceOf(const std::string& path) {
  const std::string beside = path + ".held";
  if (::mkfifo(beside.c_str(), 0644) != 0) {
    throw sim::systemError("mkfifo(" + beside + ")");
  }
  sim::Descriptor writer(::open(beside.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
  if (!writer.isOpen()) {
    throw sim::systemError("open(" + beside + ")");
  }
  std::filesystem::rename(beside, path);
  return writer;
}

}  // namespace

HeldAttribute::HeldAttribute(const std::string& path)
    : path_(path), writer_(fifoInPlaceOf(path)), openings_(path, IN_OPEN, [this] { isOpened_ = true; }) {}

void HeldAttribute::waitForReader(const sim::Deadline& deadline) {
  sim::waitUntil("a reader of " + path_, deadline, [this] { return isOpened_; });
}

void HeldAttribute::release(const std::string& content) {
  if (::write(writer_.get(), content.data(), content.size()) != static_cast<ssize_t>(content.size())) {
    throw sim::systemError("write(" + path_ + ")");
  }
  writer_.close();
}

}  // namespace support

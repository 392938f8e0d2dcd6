#include "ctrl/osd.h"

#include <fcntl.h>
#include <unistd.h>

#include "ulx/write_once.h"

OsdSink::OsdSink(const char* path) {
  openOsdSink(*this, path);
}

OsdSink::~OsdSink() {
  if (isOpen) {
    ::close(fd);
  }
}

void openOsdSink(OsdSink& sink, const char* path) {
  sink.fd = path == nullptr ? -1 : ::open(path, O_WRONLY | O_NONBLOCK);
  sink.isOpen = sink.fd >= 0;
  if (sink.isOpen) {
    ::fcntl(sink.fd, F_SETFD, FD_CLOEXEC);
  }
}

OsdMessage::OsdMessage(const OsdSink& sink, const std::string& first) : sink_(sink) {
  *this << first;
}

OsdMessage::~OsdMessage() {
  if (sink_.isOpen) {
    text_ << '\n';
    ulx::writeOnce(sink_.fd, text_.str());
  }
}

void showMessage(const OsdSink& sink, const std::string& line) {
  static_cast<void>(OsdMessage(sink, line));
}

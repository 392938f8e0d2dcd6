#include "kernel/guest/serial_port.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

#include "sim/error.h"

namespace guest {

namespace {

sim::Descriptor openPort(const std::string& path) {
  sim::Descriptor port(::open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  if (!port.isOpen()) {
    throw sim::systemError("open(" + path + ")");
  }
  return port;
}

/** Without echo, and with reads that take what is there: the other end must not read its own output. */
void makeRaw(const sim::Descriptor& port, const std::string& path) {
  termios settings{};
  if (::tcgetattr(port.get(), &settings) != 0) {
    throw sim::systemError("tcgetattr(" + path + ")");
  }
  ::cfmakeraw(&settings);
  settings.c_cc[VMIN] = 0;
  settings.c_cc[VTIME] = 0;
  if (::tcsetattr(port.get(), TCSAFLUSH, &settings) != 0) {
    throw sim::systemError("tcsetattr(" + path + ")");
  }
}

}  // namespace

SerialPort::SerialPort(const std::string& path) : path_(path), port_(openPort(path)) {
  makeRaw(port_, path_);
}

void SerialPort::send(const std::string& text) {
  if (::write(port_.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    throw sim::systemError("write(" + path_ + ")");
  }
}

std::string SerialPort::receive() {
  std::string text;
  std::array<char, 4096> buffer{};
  for (ssize_t length = ::read(port_.get(), buffer.data(), buffer.size()); length > 0;
       length = ::read(port_.get(), buffer.data(), buffer.size())) {
    text.append(buffer.data(), static_cast<std::size_t>(length));
  }
  return text;
}

std::string machineSetting(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr) {
    throw sim::Error(std::string(name) + " is not set: this program runs in an emulated machine only");
  }
  return value;
}

}  // namespace guest

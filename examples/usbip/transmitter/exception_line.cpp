#include "examples/usbip/transmitter/exception_line.h"

namespace usbip {

std::string lineOf(const ulx::Exception& exception) {
  std::string text = exception.text();
  while (text.ends_with('\n')) {
    text.pop_back();
  }
  return text;
}

}  // namespace usbip

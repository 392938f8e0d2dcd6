#include "examples/usbip/exchange/failure_line.h"

namespace usbip {

std::string failureLine(const ulx::Exception& failure) {
  std::string text = failure.text();
  text.pop_back();  // every text has a line end
  return text;
}

}  // namespace usbip

#pragma once

#include <gtest/gtest.h>

#include <string>

#include "ulx/exceptions.h"

namespace support {

/** The context of the `Expected` that `call` throws; anything else it does fails the test. */
template <class Expected = ulx::ErrnoException, class Call>
std::string contextThrownBy(Call call) {
  try {
    call();
  } catch (const Expected& e) {
    return e.context;
  } catch (const ulx::Exception& e) {
    ADD_FAILURE() << "another exception: " << e.text();
    return {};
  }
  ADD_FAILURE() << "nothing was thrown";
  return {};
}

}  // namespace support

#pragma once

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <typeinfo>

#include "ulx/exceptions.h"

namespace support {

/**
 * The exception that `call` throws. It must be an `Expected` and no class derived from it; anything else ends
 * the test with a std::runtime_error that says what happened.
 */
template <class Expected, class Call>
Expected caught(Call call) {
  try {
    call();
  } catch (const Expected& e) {
    if (typeid(e) != typeid(Expected)) {
      throw std::runtime_error(std::string("a derived class was thrown: ") + typeid(e).name());
    }
    return e;
  } catch (const ulx::Exception& e) {
    throw std::runtime_error("another class was thrown: " + e.text());
  }
  throw std::runtime_error("nothing was thrown");
}

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

/** The bare text that `call` throws, "" when it returns. */
template <class Call>
std::string bareTextThrownBy(Call call) {
  try {
    call();
  } catch (const char* text) {
    return text;
  }
  return {};
}

}  // namespace support

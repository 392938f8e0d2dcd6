#pragma once

#include <stdexcept>
#include <typeinfo>

#include "ulx/exceptions.h"

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

/** The text of whatever exception of the library `call` throws, less its line end; "" if it throws none. */
template <class Call>
std::string textCaught(Call call) {
  try {
    call();
  } catch (const ulx::Exception& e) {
    const std::string text = e.text();
    return text.substr(0, text.size() - 1);
  }
  return "";
}

#pragma once

#include <gtest/gtest.h>

#include <string>

#include "tools/recorder/error.h"

/** The text of the recorder::Error that `call` throws; without one the test fails. */
template <class Call>
std::string errorThrownBy(Call call) {
  try {
    call();
  } catch (const recorder::Error& error) {
    return error.what();
  }
  ADD_FAILURE() << "nothing was thrown";
  return {};
}

#pragma once

#include <gtest/gtest.h>

#include <string>

#include "sim/error.h"

/** The text of the sim::Error that `call` throws; one that throws none fails the test. */
template <class Call>
std::string errorThrownBy(Call call) {
  try {
    call();
  } catch (const sim::Error& error) {
    return error.what();
  }
  ADD_FAILURE() << "nothing was thrown";
  return {};
}

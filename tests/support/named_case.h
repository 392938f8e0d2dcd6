#pragma once

#include <gtest/gtest.h>

#include <string>

namespace support {

/** Names the tests of a table by the `name` of each of its cases. */
inline constexpr auto byName = [](const auto& info) { return std::string(info.param.name); };

}  // namespace support

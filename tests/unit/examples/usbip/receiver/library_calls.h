#pragma once

#include <sys/types.h>

#include <cstddef>

#include "support/replaceable_call.h"

namespace library {

extern support::ReplaceableCall<ssize_t(int, const void*, std::size_t)> write;

}  // namespace library

#pragma once

#include <sys/types.h>

#include <cstddef>

#include "support/replaceable_call.h"

/** The library calls of the product whose failures only a replacement can show. */
namespace library {

extern support::ReplaceableCall<ssize_t(int, const void*, std::size_t, int)> send;
extern support::ReplaceableCall<int(int, int, int)> socket;
extern support::ReplaceableCall<ssize_t(int, const void*, std::size_t)> write;

}  // namespace library

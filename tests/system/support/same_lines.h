#pragma once

#include <gtest/gtest.h>

#include "support/output.h"

namespace support {

/**
 * For lists that are too long to be printed whole. The failure prints only the lines that differ:
 *
 *   EXPECT_PRED_FORMAT2(support::sameLines, seen, expected);
 */
testing::AssertionResult sameLines(const char* seenText, const char* expectedText, const Lines& seen,
                                   const Lines& expected);

}  // namespace support

#pragma once

#include <string>

namespace bench {

/** What a program's file says of how it was built. Programs that differ in it are not comparable. */
struct BuildKind {
  bool isStatic;
  bool isPositionIndependent;
  bool hasDebugInformation;
  bool hasSanitizers;
  bool is64Bit;

  bool operator==(const BuildKind&) const = default;
};

/** Throws sim::Error where the file is no program. */
[[nodiscard]] BuildKind buildKindOf(const std::string& program);

/** "64-bit, static, at a fixed address, with debug information". */
[[nodiscard]] std::string describe(const BuildKind& kind);
/** "static", "shared pie", "static dbg". */
[[nodiscard]] std::string abbreviate(const BuildKind& kind);

}  // namespace bench

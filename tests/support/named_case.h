#pragma once

#include <ostream>

namespace support {

/** What a table of tests calls one of its cases: its test is listed under this name. */
struct NamedCase {
  const char* name;

  friend std::ostream& operator<<(std::ostream& out, const NamedCase& named) { return out << named.name; }
};

}  // namespace support

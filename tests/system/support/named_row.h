#pragma once

#include <ostream>
#include <string>

namespace support {

/** A row of a table of tests, which is shown by its name. */
struct NamedRow {
  std::string name;
};

inline std::ostream& operator<<(std::ostream& out, const NamedRow& row) {
  return out << row.name;
}

/** Names a test by its row. */
inline constexpr auto nameOfRow = [](const auto& instance) { return instance.param.name; };

}  // namespace support

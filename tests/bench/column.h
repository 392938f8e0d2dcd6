#pragma once

#include <string>

#include "bench/build_kind.h"
#include "bench/contender.h"

namespace bench {

/** What heads a contender's column. */
struct Column {
  std::string name;
  Contender::Origin origin;
  std::string program;
  BuildKind kind;
};

[[nodiscard]] inline Column columnOf(const Contender& contender) {
  return {.name = contender.name(),
          .origin = contender.origin(),
          .program = contender.program(),
          .kind = buildKindOf(contender.program())};
}

}  // namespace bench

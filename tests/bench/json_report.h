#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "bench/column.h"
#include "bench/machine.h"
#include "bench/results.h"

namespace bench {

/** The results with every sample, for programs. */
void printJson(std::ostream& out, const Machine& machine, const std::vector<Column>& columns,
               const std::vector<Result>& results);

}  // namespace bench

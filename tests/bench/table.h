#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "bench/column.h"
#include "bench/machine.h"
#include "bench/results.h"

namespace bench {

/** The results as one table for a person: a column for each contender. */
void printTable(std::ostream& out, const Machine& machine, const std::vector<Column>& columns,
                const std::vector<Result>& results);

}  // namespace bench

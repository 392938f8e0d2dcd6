#pragma once

#include "bench/contenders/all_contenders.h"
#include "bench/results.h"

namespace bench {

/**
 * Measures a figure of all contenders in turns, each round in another order: what one leaves behind disturbs each of the
 * others alike. Shows on standard error how far it is. What fails ends the turns of its contender only.
 */
[[nodiscard]] Result measure(const Figure& figure, const Contenders& contenders);

}  // namespace bench

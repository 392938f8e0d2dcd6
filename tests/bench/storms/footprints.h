#pragma once

#include "bench/storms/crowded_unit.h"
#include "bench/storms/figures.h"

namespace bench {

/** Compares what the daemon holds before and after a storm; `growth` is what may be added to its resident memory. */
inline void compareFootprints(Figures& figures, const sim::Footprint& before, const sim::Footprint& after,
                              double growth = 128) {
  figures.noMoreThan(growth, "growth of resident memory",
                     static_cast<double>(after.residentKilobytes - before.residentKilobytes), "kB");
  figures.exactly(static_cast<double>(before.descriptors), "descriptors afterwards",
                  static_cast<double>(after.descriptors));
  figures.exactly(static_cast<double>(before.children), "children afterwards",
                  static_cast<double>(after.children));
}

}  // namespace bench

#pragma once

#include <cstddef>

#include "config/dictionary.h"

/** Calls `use(key, value)` for each entry of `d` in order; the value of a section is null. */
template <class Use>
void forEachEntry(const ConfigDictionary* d, Use use) {
  for (std::size_t i = 0; i < static_cast<std::size_t>(d->size); ++i) {
    if (d->key[i] != nullptr) {
      use(d->key[i], d->val[i]);
    }
  }
}

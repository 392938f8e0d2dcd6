#pragma once

#include <algorithm>
#include <optional>
#include <string_view>

#include "ulx/items.h"

/**
 * The first item of a comma-separated list that is no word of the table `words` (`debugWords`, `classWords`), if there
 * is one: the daemon refuses such a list.
 */
template <class Words>
std::optional<std::string_view> findUnknownWord(std::string_view list, const Words& words) {
  std::optional<std::string_view> unknown;
  ulx::forEachItem(list, ',', [&unknown, &words](std::string_view item) {
    if (!unknown && std::ranges::none_of(words, [item](const auto& known) { return known.word == item; })) {
      unknown = item;
    }
  });
  return unknown;
}

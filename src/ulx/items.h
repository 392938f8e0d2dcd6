#pragma once

#include <string_view>

namespace ulx {

/**
 * Calls `use(std::string_view)` for each item of `text`, in order. An item ends at `separator` or at the end
 * of the text. An empty text has no item, and a separator at the end adds none.
 */
template <class Use>
void forEachItem(std::string_view text, char separator, Use use) {
  while (!text.empty()) {
    const std::string_view item = text.substr(0, text.find(separator));
    use(item);
    text.remove_prefix(item.size() < text.size() ? item.size() + 1 : item.size());
  }
}

}  // namespace ulx

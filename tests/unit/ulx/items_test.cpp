#include "ulx/items.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace {

using Items = std::vector<std::string>;

Items itemsOf(std::string_view text, char separator = ',') {
  Items found;
  ulx::forEachItem(text, separator, [&](std::string_view item) { found.emplace_back(item); });
  return found;
}

TEST(Items, EndAtTheGivenSeparator) {
  EXPECT_EQ(itemsOf("one,two,three"), (Items{"one", "two", "three"}));
  EXPECT_EQ(itemsOf("a,b:c", ':'), (Items{"a,b", "c"}));
  EXPECT_EQ(itemsOf("one two"), Items{"one two"});
}

TEST(Items, MayBeEmptyBeforeASeparatorOnly) {
  EXPECT_EQ(itemsOf(",one,,two"), (Items{"", "one", "", "two"}));
  EXPECT_EQ(itemsOf("one,two,"), (Items{"one", "two"}));
  EXPECT_EQ(itemsOf(","), Items{""});
  EXPECT_EQ(itemsOf(""), Items());
}

}  // namespace

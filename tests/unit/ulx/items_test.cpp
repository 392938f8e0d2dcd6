#include "ulx/items.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Items = std::vector<std::string>;

Items itemsOf(std::string_view text, char separator = ',') {
  Items found;
  ulx::forEachItem(text, separator, [&](std::string_view item) { found.emplace_back(item); });
  return found;
}

TEST(ForEachItem, GivesTheItemsInOrder) {
  EXPECT_EQ(itemsOf("one,two,three"), (Items{"one", "two", "three"}));
}

TEST(ForEachItem, GivesATextWithoutSeparatorWhole) {
  EXPECT_EQ(itemsOf("one two"), Items{"one two"});
}

TEST(ForEachItem, GivesNothingOfAnEmptyText) {
  EXPECT_EQ(itemsOf(""), Items());
}

TEST(ForEachItem, GivesEmptyItemsBeforeSeparators) {
  EXPECT_EQ(itemsOf(",one,,two"), (Items{"", "one", "", "two"}));
  EXPECT_EQ(itemsOf(","), Items{""});
}

TEST(ForEachItem, GivesNoItemAfterASeparatorAtTheEnd) {
  EXPECT_EQ(itemsOf("one,two,"), (Items{"one", "two"}));
}

TEST(ForEachItem, EndsItemsAtTheGivenSeparatorOnly) {
  EXPECT_EQ(itemsOf("a,b:c", ':'), (Items{"a,b", "c"}));
}

}  // namespace

#include "ulx/directory.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/child.h"
#include "support/descriptors.h"
#include "support/temporary_directory.h"
#include "support/thrown.h"
#include "unit/ulx/descriptor_limit.h"
#include "unit/ulx/library_calls.h"

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;
using Iterator = ulx::Directory::const_iterator;

static_assert(std::input_iterator<Iterator>);
static_assert(std::is_same_v<std::iter_value_t<Iterator>, std::string>);
// Each open stream has one owner.
static_assert(!std::is_copy_constructible_v<Iterator> && !std::is_copy_assignable_v<Iterator>);

class Directory : public testing::Test {
 protected:
  void makeFiles(const Names& names) const {
    for (const std::string& name : names) {
      std::ofstream(path(name)) << name;
    }
  }
  [[nodiscard]] const std::string& path() const { return directory_.path(); }
  [[nodiscard]] std::string path(const std::string& name) const { return directory_ / name; }
  [[nodiscard]] Iterator begin() const { return ulx::Directory(path()).begin(); }
  static Iterator end() { return ulx::Directory::end(); }

  static Names entriesOf(const std::string& path) {
    Names entries;
    for (const std::string& entry : ulx::Directory(path)) {
      entries.push_back(entry);
    }
    return entries;
  }

 private:
  support::TemporaryDirectory directory_;
};

TEST_F(Directory, HasTheFullPathOfEachEntryOfAnyNameAndType) {
  makeFiles({"...", "..a", ".hidden", "file"});
  fs::create_directories(path("directory/below"));
  fs::create_symlink("file", path("link"));
  fs::create_symlink("missing", path("dangling"));
  ASSERT_EQ(mkfifo(path("fifo").c_str(), 0600), 0);
  Names entries = entriesOf(path());
  std::sort(entries.begin(), entries.end());
  EXPECT_EQ(entries, (Names{path("..."), path("..a"), path(".hidden"), path("dangling"), path("directory"),
                            path("fifo"), path("file"), path("link")}));
}

TEST_F(Directory, TakesItsPathAsItIs) {
  makeFiles({"a"});
  EXPECT_EQ(entriesOf(path() + "/"), Names{path() + "//a"});
  EXPECT_EQ(entriesOf(path() + "/./"), Names{path() + "/.//a"});
}

TEST_F(Directory, KeepsTheOrderOfTheKernel) {
  for (int i = 0; i < 300; ++i) {
    makeFiles({"entry" + std::to_string(i * 7919 % 1000)});
  }
  Names expected;
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(path().c_str()), closedir);
  while (const dirent* entry = readdir(stream.get())) {
    if (entry->d_name[0] != '.') {
      expected.push_back(path(entry->d_name));
    }
  }
  EXPECT_EQ(entriesOf(path()), expected);
}

TEST_F(Directory, IsAtItsEndAfterTheLastEntryAndStaysThere) {
  makeFiles({"a", "b"});
  auto entry = begin();
  EXPECT_TRUE(entry != end());
  ++entry;
  EXPECT_TRUE(entry != end());
  EXPECT_TRUE(++entry == end());
  EXPECT_TRUE(end() == entry);
  EXPECT_FALSE(entry != end());
  entry++;
  EXPECT_TRUE(entry == end());
}

TEST_F(Directory, HasEqualEnds) {
  const support::TemporaryDirectory other;
  EXPECT_TRUE(begin() == end());
  EXPECT_TRUE(begin() == ulx::Directory(other.path()).begin());
  EXPECT_TRUE(Iterator() == end());
}

TEST_F(Directory, ThrowsABareTextWhenTwoIteratorsOnEntriesAreCompared) {
  makeFiles({"a"});
  const auto one = begin();
  const auto other = begin();
  for (const Iterator* compared : {&one, &other}) {
    EXPECT_EQ(support::bareTextThrownBy([&] { static_cast<void>(one == *compared); }),
              "Cannot compare these Directory::const_iterators");
  }
}

TEST_F(Directory, GoesOnWhereAMovedIteratorStood) {
  makeFiles({"a", "b"});
  const Names entries = entriesOf(path());
  const int next = support::nextDescriptor();
  {
    auto first = begin();
    auto second = std::move(first);
    EXPECT_EQ(*second, entries[0]);
    Iterator third;
    third = std::move(second);
    EXPECT_EQ(*third, entries[0]);
    EXPECT_EQ(*++third, entries[1]);
  }
  EXPECT_FALSE(support::isOpen(next));
}

TEST_F(Directory, IsOpenedByEachBegin) {
  const ulx::Directory directory(path("later"));
  EXPECT_EQ(support::caught<ulx::NoSuchFileOrDirectory>([&] { return directory.begin(); }).text(),
            "No such file or directory while opendir(" + path("later") + ")\n");
  fs::create_directory(path("later"));
  makeFiles({"later/a"});
  EXPECT_EQ(*directory.begin(), path("later/a"));
  fs::rename(path("later/a"), path("later/b"));
  EXPECT_EQ(*directory.begin(), path("later/b"));
}

TEST_F(Directory, ThrowsForAFileInItsPlace) {
  makeFiles({"a"});
  EXPECT_EQ(support::caught<ulx::ErrnoException>([&] { entriesOf(path("a")); }).text(),
            "Not a directory while opendir(" + path("a") + ")\n");
}

TEST_F(Directory, ThrowsWhereItMayNotBeRead) {
  ASSERT_EQ(chmod(path().c_str(), 0300), 0);
  support::inChild([this] {
    support::dropPrivileges();
    EXPECT_EQ(support::caught<ulx::ErrnoException>([this] { return begin(); }).text(),
              "Permission denied while opendir(" + path() + ")\n");
  });
}

TEST_F(Directory, ThrowsWithoutAFreeDescriptor) {
  const DescriptorLimit none(0);
  EXPECT_EQ(support::caught<ulx::ErrnoException>([this] { return begin(); }).text(),
            "Too many open files while opendir(" + path() + ")\n");
}

TEST_F(Directory, EndsQuietlyAtAReadError) {
  makeFiles({"a", "b", "c"});
  int reads = 0;
  const support::Replaced<dirent*(DIR*)> reading(library::readdir, [&](DIR* stream) -> dirent* {
    dirent* entry = library::readdir.real(stream);
    while (entry != nullptr && *entry->d_name == '.') {
      entry = library::readdir.real(stream);
    }
    errno = EIO;
    return ++reads <= 2 ? entry : nullptr;
  });
  EXPECT_EQ(entriesOf(path()).size(), 2U);
  EXPECT_EQ(reads, 3);
}

TEST_F(Directory, StaysOpenUntilItsIteratorGoesAndIsClosedInPrograms) {
  makeFiles({"a"});
  const int next = support::nextDescriptor();
  {
    auto entry = begin();
    EXPECT_TRUE(support::isCloseOnExec(next));
    EXPECT_TRUE(++entry == end());
    EXPECT_TRUE(support::isOpen(next));
  }
  EXPECT_FALSE(support::isOpen(next));
}

}  // namespace

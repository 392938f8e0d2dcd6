#include "ulx/directory.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include "support/temporary_directory.h"
#include "support/child.h"
#include "unit/ulx/caught.h"
#include "unit/ulx/descriptor_limit.h"
#include "unit/ulx/descriptor_state.h"
#include "unit/ulx/library_calls.h"

namespace {

using Names = std::vector<std::string>;

// Each open stream has one owner.
static_assert(!std::is_copy_constructible_v<ulx::Directory::const_iterator>);
static_assert(!std::is_copy_assignable_v<ulx::Directory::const_iterator>);

/** A directory with files in it. */
class Files {
 public:
  explicit Files(const Names& names) {
    for (const std::string& name : names) {
      std::ofstream(directory_ / name) << name;
    }
  }
  [[nodiscard]] const std::string& path() const { return directory_.path(); }
  [[nodiscard]] std::string operator/(const std::string& name) const { return directory_ / name; }

 private:
  support::TemporaryDirectory directory_;
};

Names entriesOf(const std::string& path) {
  Names entries;
  for (const std::string& entry : ulx::Directory(path)) {
    entries.push_back(entry);
  }
  return entries;
}

std::set<std::string> entrySetOf(const std::string& path) {
  const Names entries = entriesOf(path);
  return {entries.begin(), entries.end()};
}

const auto end = ulx::Directory::end;

void begin(const std::string& path) {
  static_cast<void>(ulx::Directory(path).begin());
}

struct CloseStream {
  void operator()(DIR* stream) const { closedir(stream); }
};

// The names as the system gives them, "." and ".." too.
Names namesAsRead(const std::string& path) {
  const std::unique_ptr<DIR, CloseStream> stream(opendir(path.c_str()));
  Names names;
  while (const dirent* entry = readdir(stream.get())) {
    names.emplace_back(entry->d_name);
  }
  return names;
}

TEST(Directory, GivesTheFullPathOfEachEntry) {
  const Files files({"a", "b"});
  EXPECT_EQ(entrySetOf(files.path()), (std::set<std::string>{files / "a", files / "b"}));
}

TEST(Directory, TakesItsPathAsItIs) {
  const Files files({"a"});
  EXPECT_EQ(entriesOf(files.path() + "/"), Names{files.path() + "//a"});
  EXPECT_EQ(entriesOf(files.path() + "/./"), Names{files.path() + "/.//a"});
}

TEST(Directory, KeepsTheOrderInWhichTheSystemGivesTheEntries) {
  Names names;
  for (int i = 0; i < 300; ++i) {
    names.push_back("entry" + std::to_string(i * 7919 % 1000));
  }
  const Files files(names);
  Names expected;
  for (const std::string& name : namesAsRead(files.path())) {
    if (name != "." && name != "..") {
      expected.push_back(files / name);
    }
  }
  EXPECT_EQ(entriesOf(files.path()), expected);
}

TEST(Directory, GivesHiddenEntries) {
  const Files files({".hidden", "...", "..a"});
  EXPECT_EQ(entrySetOf(files.path()),
            (std::set<std::string>{files / ".hidden", files / "...", files / "..a"}));
}

TEST(Directory, GivesEntriesOfEveryType) {
  const Files files({"file"});
  std::filesystem::create_directory(files / "directory");
  std::filesystem::create_symlink("file", files / "link");
  std::filesystem::create_symlink("missing", files / "dangling");
  ASSERT_EQ(mkfifo((files / "fifo").c_str(), 0600), 0);
  EXPECT_EQ(entrySetOf(files.path()),
            (std::set<std::string>{files / "file", files / "directory", files / "link", files / "dangling",
                                   files / "fifo"}));
}

TEST(Directory, DoesNotGoBelowItsEntries) {
  const Files files({});
  std::filesystem::create_directories(files / "a/b");
  EXPECT_EQ(entriesOf(files.path()), Names{files / "a"});
}

TEST(Directory, BeginsAtItsEndWhenItIsEmpty) {
  const support::TemporaryDirectory empty;
  const ulx::Directory directory(empty.path());
  EXPECT_TRUE(directory.begin() == end());
  EXPECT_FALSE(directory.begin() != end());
}

TEST(Directory, IsUnlikeItsEndUntilItIsExhausted) {
  const Files files({"a", "b"});
  const ulx::Directory directory(files.path());
  auto entry = directory.begin();
  EXPECT_TRUE(entry != end());
  ++entry;
  EXPECT_TRUE(entry != end());
  ++entry;
  EXPECT_FALSE(entry != end());
  EXPECT_TRUE(entry == end());
  EXPECT_TRUE(end() == entry);
}

TEST(Directory, StaysAtItsEnd) {
  const Files files({"a"});
  const ulx::Directory directory(files.path());
  auto entry = directory.begin();
  EXPECT_TRUE(++ ++entry == end());
}

TEST(Directory, AnyTwoEndsAreEqual) {
  EXPECT_TRUE(end() == end());
  EXPECT_TRUE(ulx::Directory::const_iterator() == end());
}

TEST(Directory, TwoExhaustedIteratorsAreEqual) {
  const support::TemporaryDirectory one;
  const support::TemporaryDirectory other;
  const auto first = ulx::Directory(one.path()).begin();
  const auto second = ulx::Directory(other.path()).begin();
  EXPECT_TRUE(first == second);
}

// The bare text that a comparison throws, "" when there is a result.
std::string textThrownByComparing(const ulx::Directory::const_iterator& one,
                                  const ulx::Directory::const_iterator& other) {
  try {
    static_cast<void>(one == other);
  } catch (const char* text) {
    return text;
  }
  return "";
}

TEST(Directory, ThrowsABareTextWhenTwoIteratorsOnEntriesAreCompared) {
  const Files one({"a"});
  const Files other({"a"});
  const auto first = ulx::Directory(one.path()).begin();
  const auto second = ulx::Directory(other.path()).begin();
  EXPECT_EQ(textThrownByComparing(first, second), "Cannot compare these Directory::const_iterators");
  EXPECT_EQ(textThrownByComparing(first, first), "Cannot compare these Directory::const_iterators");
}

TEST(Directory, IsOpenedByBeginOnly) {
  const ulx::Directory directory("/no/such");
  const auto e = caught<ulx::NoSuchFileOrDirectory>([&] { static_cast<void>(directory.begin()); });
  EXPECT_EQ(e.context, "opendir(/no/such)");
  EXPECT_EQ(e.text(), "No such file or directory while opendir(/no/such)\n");
}

TEST(Directory, IsOpenedAnewByEachBegin) {
  const Files files({"a"});
  const ulx::Directory directory(files.path());
  EXPECT_EQ(*directory.begin(), files / "a");
  std::filesystem::rename(files / "a", files / "b");
  EXPECT_EQ(*directory.begin(), files / "b");
}

TEST(Directory, ThrowsForAFileInItsPlace) {
  const Files files({"a"});
  const auto e = caught<ulx::ErrnoException>([&] { begin(files / "a"); });
  EXPECT_EQ(e.context, "opendir(" + (files / "a") + ")");
  EXPECT_EQ(e.errorNumber, ENOTDIR);
}

TEST(Directory, ThrowsWhereItMayNotBeRead) {
  const Files files({"a"});
  ASSERT_EQ(chmod(files.path().c_str(), 0300), 0);
  EXPECT_EQ(support::reportOfUnprivilegedChild([&] { return textCaught([&] { begin(files.path()); }); }),
            "Permission denied while opendir(" + files.path() + ")");
}

TEST(Directory, ThrowsWithoutAFreeDescriptor) {
  const Files files({"a"});
  std::string text;
  {
    const DescriptorLimit none(nextDescriptor());
    text = textCaught([&] { begin(files.path()); });
  }
  EXPECT_EQ(text, "Too many open files while opendir(" + files.path() + ")");
}

TEST(Directory, EndsQuietlyWhereItCannotBeReadAnyFurther) {
  const Files files({"a", "b", "c"});
  int reads = 0;
  const support::Replaced<dirent*(DIR*)> reading(library::readdir, [&](DIR* stream) -> dirent* {
    dirent* entry = library::readdir.real(stream);
    while (entry != nullptr && *entry->d_name == '.') {
      entry = library::readdir.real(stream);
    }
    if (++reads <= 2) {
      return entry;
    }
    errno = EIO;
    return nullptr;
  });
  EXPECT_EQ(entriesOf(files.path()).size(), 2U);
  EXPECT_EQ(reads, 3);
}

TEST(Directory, StaysOpenUntilItsIteratorGoes) {
  const Files files({"a"});
  const int next = nextDescriptor();
  {
    auto entry = ulx::Directory(files.path()).begin();
    EXPECT_TRUE(isOpen(next));
    ++entry;
    EXPECT_TRUE(entry == end());
    EXPECT_TRUE(isOpen(next));
  }
  EXPECT_FALSE(isOpen(next));
}

TEST(Directory, IsNotPassedOnToPrograms) {
  const Files files({"a"});
  const int next = nextDescriptor();
  const auto entry = ulx::Directory(files.path()).begin();
  EXPECT_TRUE(isCloseOnExec(next));
}

}  // namespace

#pragma once

#include <dirent.h>

#include <cstddef>
#include <iterator>
#include <memory>
#include <string>

namespace ulx {

/** The entries of a directory as full paths, without "." and "..", in the kernel's order. */
class Directory {
 public:
  /** An input iterator: it owns the open directory, so it can be moved but not copied. */
  class const_iterator {
   public:
    using iterator_concept = std::input_iterator_tag;
    using value_type = std::string;
    using difference_type = std::ptrdiff_t;

    /** The end of any directory. */
    const_iterator() = default;
    /** Opens `path` and stands on its first entry. Throws opendir(PATH). */
    explicit const_iterator(const std::string& path);
    const_iterator(const const_iterator&) = delete;
    const_iterator& operator=(const const_iterator&) = delete;
    /** The iterator that was moved from may only be assigned to or destroyed. */
    const_iterator(const_iterator&&) = default;
    const_iterator& operator=(const_iterator&&) = default;
    ~const_iterator() = default;

    /** Moves on. A read error ends the listing like its last entry. */
    const_iterator& operator++();
    void operator++(int) { ++*this; }
    /** The directory's path, as given, + "/" + the entry's name. */
    const std::string& operator*() const { return fullPath_; }
    /**
     * Whether both are at their end. For two iterators on entries it throws the bare text "Cannot
     * compare these Directory::const_iterators".
     */
    bool operator==(const const_iterator& other) const;

   private:
    struct Close {
      void operator()(DIR* stream) const { closedir(stream); }
    };

    std::string path_;
    std::unique_ptr<DIR, Close> stream_;
    bool atEnd_ = true;
    std::string name_;
    std::string fullPath_;
  };

  /** Opens nothing yet. */
  explicit Directory(std::string path);

  /** Opens the directory anew. Throws opendir(PATH). */
  [[nodiscard]] const_iterator begin() const { return const_iterator(path_); }
  [[nodiscard]] static const_iterator end() { return {}; }

 private:
  std::string path_;
};

}  // namespace ulx

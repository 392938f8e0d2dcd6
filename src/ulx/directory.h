#pragma once

#include <dirent.h>

#include <memory>
#include <string>

namespace ulx {

/** The entries of a directory as full paths, "." and ".." left out, in the order in which the kernel gives
 * them. */
class Directory {
 public:
  class const_iterator {
   public:
    /** The end of any directory. */
    const_iterator() = default;
    /** Opens `path` and stands on its first entry. Throws opendir(PATH). */
    explicit const_iterator(const std::string& path);
    const_iterator(const const_iterator&) = delete;
    const_iterator& operator=(const const_iterator&) = delete;
    ~const_iterator() = default;

    /** Moves on. A listing that cannot be read any further ends like one that is complete. */
    const_iterator& operator++();
    /** The directory's path, as given, + "/" + the entry's name. */
    const std::string& operator*() const { return fullPath_; }
    /**
     * Equal when both are at their end. Two iterators that stand on entries throw the bare text "Cannot
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

#include "ulx/directory.h"

#include <cerrno>
#include <utility>

#include "ulx/exceptions.h"

namespace ulx {

Directory::const_iterator::const_iterator(const std::string& path)
    : path_(path), stream_(opendir(path.c_str())), atEnd_(false) {
  if (stream_ == nullptr) {
    throwErrno({"opendir(", path, ")"}, errno);
  }
  ++*this;
}

Directory::const_iterator& Directory::const_iterator::operator++() {
  do {
    const dirent* entry = readdir(stream_.get());
    if (entry == nullptr) {
      atEnd_ = true;
      return *this;
    }
    name_ = entry->d_name;
  } while (name_ == "." || name_ == "..");
  fullPath_ = path_ + "/" + name_;
  return *this;
}

bool Directory::const_iterator::operator==(const const_iterator& other) const {
  if (!atEnd_ && !other.atEnd_) {
    throw "Cannot compare these Directory::const_iterators";
  }
  return atEnd_ && other.atEnd_;
}

Directory::Directory(std::string path) : path_(std::move(path)) {}

}  // namespace ulx

#pragma once

#include <string>

namespace ulx {

/** Throws "chdir()". */
void changeDirectory(const std::string& path);

/** The working directory with every symbolic link resolved, however long. Throws "getcwd()". */
std::string currentDirectory();

/** A stay in another directory: back in the old one at the end of the scope. */
class DirectoryVisit {
 public:
  /** Throws "getcwd()" or "chdir()"; the working directory is then as before. */
  explicit DirectoryVisit(const std::string& path);
  DirectoryVisit(const DirectoryVisit&) = delete;
  DirectoryVisit& operator=(const DirectoryVisit&) = delete;
  /** Goes back if `leave` was not called; a failure is then lost, since another exception is on its way. */
  ~DirectoryVisit();

  /** Goes back. Throws "chdir()" when the old directory cannot be reached any more. */
  void leave();

 private:
  std::string saved_;
  bool away_ = true;
};

}  // namespace ulx

#pragma once

#include <string>

namespace ulx {

/** Throws "chdir()". */
void changeDirectory(const std::string& path);

/** The path of the working directory without symbolic links, of any length. Throws "getcwd()". */
std::string currentDirectory();

/** Changes to another directory during its scope, then back to the old one. */
class DirectoryVisit {
 public:
  /** Changes to `path`. Throws "getcwd()" or "chdir()", and the working directory is then unchanged. */
  explicit DirectoryVisit(const std::string& path);
  DirectoryVisit(const DirectoryVisit&) = delete;
  DirectoryVisit& operator=(const DirectoryVisit&) = delete;
  /** Changes back if `leave` was not called. A failure is not reported: another exception is in flight. */
  ~DirectoryVisit();

  /** Changes back. Throws "chdir()" when the old directory cannot be entered any more. */
  void leave();

 private:
  std::string saved_;
  bool away_ = true;
};

}  // namespace ulx

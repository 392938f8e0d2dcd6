#include "sim/line_file.h"

#include <sys/inotify.h>

#include <fstream>
#include <sstream>
#include <utility>

#include "sim/files.h"

namespace sim {

LineFile::LineFile(std::string path)
    : path_((writeFile(path, ""), std::move(path))), watch_(path_, IN_MODIFY) {}

const std::string& LineFile::text() {
  readAppended();
  return text_;
}

const std::vector<std::string>& LineFile::lines() {
  readAppended();
  for (std::size_t end = text_.find('\n', splitUpTo_); end != std::string::npos;
       end = text_.find('\n', splitUpTo_)) {
    lines_.push_back(text_.substr(splitUpTo_, end - splitUpTo_));
    splitUpTo_ = end + 1;
  }
  return lines_;
}

void LineFile::readAppended() {
  std::ifstream file(path_, std::ios::binary);
  file.seekg(static_cast<std::streamoff>(text_.size()));
  std::ostringstream appended;
  appended << file.rdbuf();
  text_ += appended.str();
}

}  // namespace sim

#include "examples/usbip/transmitter/key_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <vector>

#include "ulx/exceptions.h"
#include "ulx/file_descriptor.h"
#include "ulx/items.h"

namespace usbip {
namespace {

constexpr std::string_view blanks = " \t\r";

std::vector<std::string> wordsOf(std::string_view line) {
  std::vector<std::string> words;
  for (std::size_t begin = line.find_first_not_of(blanks); begin != std::string_view::npos;
       begin = line.find_first_not_of(blanks)) {
    line.remove_prefix(begin);
    words.emplace_back(line.substr(0, line.find_first_of(blanks)));
    line.remove_prefix(words.back().size());
  }
  return words;
}

bool isComment(const std::vector<std::string>& words) {
  return words.empty() || words.front().starts_with('#');
}

// Of the lines that count, the only one; no words where there are none or several.
std::vector<std::string> wordsOfOnlyLine(std::string_view content) {
  std::vector<std::vector<std::string>> lines;
  ulx::forEachItem(content, '\n', [&lines](std::string_view line) {
    std::vector<std::string> words = wordsOf(line);
    if (!isComment(words)) {
      lines.push_back(std::move(words));
    }
  });
  return lines.size() == 1 ? lines.front() : std::vector<std::string>();
}

void expectPrivate(const ulx::FileDescriptor& file) {
  constexpr mode_t others = S_IRWXG | S_IRWXO;
  struct stat status {};
  if (::fstat(file.fd(), &status) != 0) {
    ulx::throwErrno({"fstat(\"", file.name(), "\")"}, errno);
  }
  if ((status.st_mode & others) != 0) {
    throw ulx::StrException(file.name() + " has keys and is not its owner's alone: chmod 600 " + file.name());
  }
}

}  // namespace

Keys readKeyFile(const std::string& path) {
  const ulx::FileDescriptor file(path, O_RDONLY);
  expectPrivate(file);
  std::vector<std::string> words = wordsOfOnlyLine(file.readAll());
  if (words.size() != 2) {
    throw ulx::StrException(path + " has to have one line of two words, the keys IN and OUT");
  }
  return {.in = std::move(words[0]), .out = std::move(words[1])};
}

}  // namespace usbip

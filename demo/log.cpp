#include "demo/log.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <iostream>
#include <map>
#include <regex>
#include <sstream>
#include <string_view>

namespace demo {

namespace {

const std::map<std::string, Colours> coloursOf = {{"uevent", {"36", ""}},       {"daemon", {"2", "2"}},
                                                  {"worker", {"34", "34"}},     {"display", {"33", "1;33"}},
                                                  {"link", {"35", ""}},         {"config", {"35", ""}},
                                                  {"far", {"35", "35"}},   {"ok", {"32", "32"}},
                                                  {"FAILED", {"1;31", "1;31"}}, {"error", {"31", ""}}};

std::string coloured(const std::string& text, const std::string& colour) {
  return !Log::isColoured() || colour.empty() ? text : "\033[" + colour + "m" + text + "\033[0m";
}

/** Control characters are shown as \xNN. */
std::string printable(const std::string& text) {
  constexpr const char* digits = "0123456789abcdef";
  std::string shown;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    shown += std::iscntrl(byte) == 0 ? std::string{c}
                                     : std::string{'\\', 'x', digits[byte / 16], digits[byte % 16]};
  }
  return shown;
}

/** Without what leads to the bus. */
std::string withShortPaths(const std::string& text) {
  static const std::regex wayToBus("(/devices)/[^ ]*?(/usb[0-9])");
  return std::regex_replace(text, wayToBus, "$1/...$2");
}

}  // namespace

Words wordsOf(const std::string& line) {
  static const std::regex form("([^ ']|'[^']*'?)+");
  Words words;
  for (std::sregex_iterator word(line.begin(), line.end(), form); word != std::sregex_iterator(); ++word) {
    words.push_back(word->str());
    std::erase(words.back(), '\'');
  }
  return words;
}

std::string typed(const Words& words) {
  std::string line;
  for (const std::string& word : words) {
    const bool isPlain = !word.empty() && word.find_first_of(" '\"\\$*?<>|&;()") == std::string::npos;
    line += (line.empty() ? "" : " ") + (isPlain ? word : "'" + word + "'");
  }
  return line;
}

void Log::headline(const std::string& text, const std::string& colour) const {
  plain("\n");
  for (const std::string& part : wrapped(text, columns_)) {
    plain(coloured(part, colour) + "\n");
  }
}

void Log::line(const std::string& about, const std::string& text) const {
  std::string left = about;
  left.resize(aboutColumns - 2, ' ');
  const bool fits = aboutColumns + text.size() <= columns_;
  item(left + "| ", fits ? text : withShortPaths(text), coloursOf.at(about));
}

void Log::event(const std::string& about, const std::string& text) {
  line(about, text);
  events_.emplace_back(about, text);
}

void Log::item(std::string left, const std::string& text, const Colours& colours) const {
  for (const std::string& part : wrapped(text, columns_ - left.size())) {
    plain(coloured(left, colours.first) + coloured(part, colours.second) + "\n");
    std::replace_if(
        left.begin(), left.end(), [](char c) { return c != '|'; }, ' ');
  }
}

void Log::plain(const std::string& text) {
  std::cout << text << std::flush;
}

bool Log::isColoured() {
  const char* const noColour = std::getenv("NO_COLOR");
  const bool isWanted = noColour == nullptr || *noColour == '\0';
  const char* const terminal = std::getenv("TERM");
  return isWanted && ::isatty(STDOUT_FILENO) == 1 && terminal != nullptr &&
         std::string_view(terminal) != "dumb";
}

/** Words that are too long are divided, behind a slash if they can. */
Words Log::wrapped(const std::string& text, std::size_t columns) const {
  Words lines;
  std::istringstream words(printable(text));
  for (std::string word; std::getline(words, word, ' ');) {
    do {
      const std::size_t slash = word.rfind('/', longestWord_ - 1);
      const bool isCutAtSlash = word.size() > longestWord_ && slash != 0 && slash != std::string::npos;
      const std::string part = word.substr(0, isCutAtSlash ? slash + 1 : longestWord_);
      word.erase(0, part.size());
      if (!lines.empty() && lines.back().size() + 1 + part.size() <= columns) {
        lines.back() += " " + part;
      } else {
        lines.push_back((lines.empty() ? "" : "   ") + part);
      }
    } while (!word.empty());
  }
  return lines;
}

}  // namespace demo

#include "demo/log.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>
#include <sstream>
#include <utility>

namespace demo {

namespace {

constexpr std::size_t aboutColumns = 10;

struct Colours {
  std::string about;
  std::string text;
};

const std::map<std::string, Colours> coloursOf = {
    {"uevent", {"36", ""}},      {"daemon", {"2", "2"}},       {"worker", {"34", "34"}},
    {"display", {"33", "1;33"}}, {"link", {"35", ""}},         {"config", {"35", ""}},
    {"ok", {"32", "32"}},        {"FAILED", {"1;31", "1;31"}}, {"error", {"31", ""}}};

/** Control characters are shown as \xNN. */
std::string printable(const std::string& text) {
  std::string shown;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    std::array<char, sizeof "\\x00"> code{};
    std::snprintf(code.data(), code.size(), "\\x%02x", byte);
    shown += std::iscntrl(byte) != 0 ? std::string(code.data()) : std::string(1, c);
  }
  return shown;
}

/** What stands between blanks; a longer word in parts, which end with a slash if they can. */
Words partsOf(const std::string& text, std::size_t longest) {
  Words parts;
  std::istringstream words(text);
  for (std::string word; std::getline(words, word, ' ');) {
    while (word.size() > longest) {
      const std::size_t slash = word.rfind('/', longest - 1);
      const std::size_t length = slash == 0 || slash == std::string::npos ? longest : slash + 1;
      parts.push_back(word.substr(0, length));
      word.erase(0, length);
    }
    parts.push_back(word);
  }
  return parts;
}

}  // namespace

Words wordsOf(const std::string& line) {
  Words words;
  bool inWord = false;
  bool inQuotes = false;
  for (const char c : line) {
    const bool isBlank = c == ' ' && !inQuotes;
    if (!isBlank && !inWord) {
      words.emplace_back();
    }
    inWord = !isBlank;
    inQuotes = inQuotes != (c == '\'');
    if (inWord && c != '\'') {
      words.back() += c;
    }
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

Log::Log(std::size_t columns, std::size_t longestWord) : columns_(columns), longestWord_(longestWord) {
  const char* noColour = std::getenv("NO_COLOR");
  isColoured_ = ::isatty(STDOUT_FILENO) == 1 && (noColour == nullptr || *noColour == '\0');
}

void Log::title(const std::string& text) const {
  plain("\n" + coloured("== " + text + " ==", "1") + "\n");
}

void Log::headline(const std::string& text) const {
  plain("\n" + coloured(text, "1;4") + "\n");
}

void Log::line(const std::string& about, const std::string& text) const {
  const Colours& colours = coloursOf.at(about);
  std::string left = about;
  for (const std::string& part : wrapped(text, textColumns())) {
    left.resize(aboutColumns - 2, ' ');
    plain(coloured(left + "| ", colours.about) + coloured(part, colours.text) + "\n");
    left.clear();
  }
}

void Log::event(const std::string& about, const std::string& text) {
  line(about, text);
  events_.push_back({about, text});
}

std::vector<Line> Log::takeEvents() {
  return std::exchange(events_, {});
}

void Log::item(const std::string& left, const std::string& text) const {
  std::string beginning = left;
  for (const std::string& part : wrapped(text, columns_ - left.size())) {
    plain(beginning + part + "\n");
    beginning.assign(left.size(), ' ');
  }
}

void Log::plain(const std::string& text) {
  std::cout << text << std::flush;
}

std::size_t Log::textColumns() const {
  return columns_ - aboutColumns;
}

Words Log::wrapped(const std::string& text, std::size_t columns) const {
  Words lines;
  for (const std::string& part : partsOf(printable(text), longestWord_)) {
    if (lines.empty()) {
      lines.push_back(part);
    } else if (lines.back().size() + 1 + part.size() > columns) {
      lines.push_back("   " + part);
    } else {
      lines.back() += " " + part;
    }
  }
  return lines;
}

std::string Log::coloured(const std::string& text, const std::string& colour) const {
  return !isColoured_ || colour.empty() ? text : "\033[" + colour + "m" + text + "\033[0m";
}

}  // namespace demo

#include "demo/log.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <iostream>
#include <map>
#include <sstream>

namespace demo {

namespace {

constexpr std::size_t aboutColumns = 10;

const std::map<std::string, Colours> coloursOf = {
    {"uevent", {"36", ""}},      {"daemon", {"2", "2"}},       {"worker", {"34", "34"}},
    {"display", {"33", "1;33"}}, {"link", {"35", ""}},         {"config", {"35", ""}},
    {"ok", {"32", "32"}},        {"FAILED", {"1;31", "1;31"}}, {"error", {"31", ""}}};

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

void Log::title(const std::string& text) {
  plain("\n" + coloured("== " + text + " ==", "1") + "\n");
}

void Log::headline(const std::string& text) {
  plain("\n" + coloured(text, "1;4") + "\n");
}

void Log::line(const std::string& about, const std::string& text) const {
  std::string left = about;
  left.resize(aboutColumns - 2, ' ');
  item(left + "| ", text, coloursOf.at(about));
}

void Log::event(const std::string& about, const std::string& text) {
  line(about, text);
  events_.push_back({about, text});
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
  return ::isatty(STDOUT_FILENO) == 1 && (noColour == nullptr || *noColour == '\0');
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

}  // namespace demo

#include "demo/log.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <ostream>
#include <sstream>
#include <utility>

namespace demo {

namespace {

constexpr const char* bold = "1";
constexpr const char* boldUnderlined = "1;4";
constexpr const char* usualColour = "";
constexpr const char* continuationIndent = "   ";

struct Look {
  Tag tag;
  const char* name;
  const char* tagColour;
  const char* textColour;
};

constexpr std::array<Look, 10> looks{{{Tag::Uevent, "uevent", "36", usualColour},
                                      {Tag::Daemon, "daemon", "2", "2"},
                                      {Tag::Message, "daemon", "2", "2"},
                                      {Tag::Worker, "worker", "34", "34"},
                                      {Tag::Display, "display", "33", "1;33"},
                                      {Tag::Link, "link", "35", usualColour},
                                      {Tag::Config, "config", "35", usualColour},
                                      {Tag::Ok, "ok", "32", "32"},
                                      {Tag::Failed, "FAILED", "1;31", "1;31"},
                                      {Tag::Error, "error", "31", usualColour}}};

const Look& lookOf(Tag tag) {
  return *std::find_if(looks.begin(), looks.end(), [tag](const Look& look) { return look.tag == tag; });
}

std::string column(std::string name) {
  constexpr std::size_t width = 8;
  name.resize(width, ' ');
  return name + "| ";
}

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

/** What stands between blanks, in parts of at most `longest` characters, which end with a slash if they can. */
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

bool needsQuotes(unsigned char c) {
  return std::isalnum(c) == 0 && std::string("_@%+=:,./-").find(static_cast<char>(c)) == std::string::npos;
}

}  // namespace

std::string nameOf(Tag tag) {
  return lookOf(tag).name;
}

void Log::title(const std::string& text) {
  plain("\n" + coloured("== " + text + " ==", bold));
}

void Log::headline(const std::string& text) {
  plain("\n" + coloured(text, boldUnderlined));
}

void Log::line(Tag tag, const std::string& text) {
  const Look& look = lookOf(tag);
  put({column(look.name), look.tagColour, look.textColour}, column(""), text);
}

void Log::event(Tag tag, const std::string& text) {
  line(tag, text);
  events_.push_back({tag, text});
}

std::vector<Event> Log::takeEvents() {
  return std::exchange(events_, {});
}

void Log::item(const std::string& left, const std::string& text) {
  put({left, usualColour, usualColour}, std::string(left.size(), ' '), text);
}

void Log::put(const Style& style, const std::string& continuation, const std::string& text) {
  std::string left = style.left;
  for (const std::string& line : wrapped(printable(text), layout_.columns - left.size())) {
    plain(coloured(left, style.leftColour) + coloured(line, style.textColour));
    left = continuation;
  }
}

void Log::plain(const std::string& text) {
  out_ << text << std::endl;
}

void Log::begin(const std::string& text) {
  out_ << coloured(text, bold) << std::flush;
}

std::size_t Log::textColumns() const {
  return layout_.columns - column("").size();
}

Words Log::wrapped(const std::string& text, std::size_t columns) const {
  Words lines;
  for (const std::string& part : partsOf(text, layout_.longestWord)) {
    if (lines.empty()) {
      lines.push_back(part);
    } else if (lines.back().size() + 1 + part.size() > columns) {
      lines.push_back(continuationIndent + part);
    } else {
      lines.back() += " " + part;
    }
  }
  return lines;
}

std::string Log::coloured(const std::string& text, const char* colour) const {
  return !layout_.coloured || colour == std::string()
             ? text
             : std::string("\033[") + colour + "m" + text + "\033[0m";
}

std::string typed(const Words& command) {
  std::string text;
  for (const std::string& argument : command) {
    const bool isQuoted = argument.empty() || std::any_of(argument.begin(), argument.end(), needsQuotes);
    text += (text.empty() ? "" : " ") + (isQuoted ? "'" + argument + "'" : argument);
  }
  return text;
}

}  // namespace demo

#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace demo {

using Words = std::vector<std::string>;

/** What a line is about; its name stands in the left column. Messages are what the daemon itself writes. */
enum class Tag { Uevent, Daemon, Message, Worker, Display, Link, Config, Ok, Failed, Error };

[[nodiscard]] std::string nameOf(Tag tag);

/** Something that came of what was done. */
struct Event {
  Tag tag;
  std::string text;
};

struct Layout {
  bool coloured;
  std::size_t columns;      ///< lines are broken between words to fit
  std::size_t longestWord;  ///< a longer word is broken, too
};

/** Lines for a person, flushed one by one. It keeps the events among them. */
class Log {
 public:
  /** `out` stays the caller's. */
  Log(std::ostream& out, const Layout& layout) : out_(out), layout_(layout) {}

  void title(const std::string& text);
  void headline(const std::string& text);
  void line(Tag tag, const std::string& text);
  /** The same for something that came of what was done. */
  void event(Tag tag, const std::string& text);
  /** The events since the last call. */
  std::vector<Event> takeEvents();
  /** A line with another left column. */
  void item(const std::string& left, const std::string& text);
  /** As it is. */
  void plain(const std::string& text);
  /** A line that somebody else ends. */
  void begin(const std::string& text);

  [[nodiscard]] bool isColoured() const { return layout_.coloured; }
  /** The columns beside a tag. */
  [[nodiscard]] std::size_t textColumns() const;

 private:
  struct Style {
    std::string left;
    const char* leftColour;
    const char* textColour;
  };
  void put(const Style& style, const std::string& continuation, const std::string& text);
  [[nodiscard]] Words wrapped(const std::string& text, std::size_t columns) const;
  [[nodiscard]] std::string coloured(const std::string& text, const char* colour) const;

  std::ostream& out_;
  Layout layout_;
  std::vector<Event> events_;
};

/** A command as one would type it: arguments stand between single quotes where they must. */
[[nodiscard]] std::string typed(const Words& command);

}  // namespace demo

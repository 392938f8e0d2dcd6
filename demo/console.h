#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace demo {

/** Whom a line is about; it stands in the left column. */
enum class Tag { Uevent, Daemon, Worker, Display, Link, Config, Ok, Failed, Error };

/** Lines for a person: a tag, then what there is to tell, wrapped beside it. */
class Console {
 public:
  enum class Colours { None, Terminal };

  /** `out` stays the caller's; it is flushed after each line. */
  Console(std::ostream& out, Colours colours) : out_(out), colours_(colours) {}
  /** Colours for a terminal, unless the environment variable NO_COLOR is set to something. */
  static Colours coloursFor(int descriptor);

  void title(const std::string& text);
  void headline(const std::string& text);
  /** Control characters are shown as \xNN. */
  void line(Tag tag, const std::string& text);
  /** The same; lines are broken between words only, which may hold blanks. */
  void line(Tag tag, const std::vector<std::string>& words);
  /** Without a tag, as it is. */
  void plain(const std::string& text);
  /** Waits for input on the same line. */
  void prompt(const std::string& text);

 private:
  [[nodiscard]] std::string coloured(const std::string& text, const char* colour) const;

  std::ostream& out_;
  Colours colours_;
};

/** Columns that a line's text may have beside its tag. */
constexpr std::size_t textColumns = 90;

}  // namespace demo

#pragma once

#include <string>
#include <utility>
#include <vector>

namespace demo {

using Words = std::vector<std::string>;

/** Divided by blanks; single quotes keep a word together. */
[[nodiscard]] Words wordsOf(const std::string& line);
/** The words as one would type them: between single quotes where they must be. */
[[nodiscard]] std::string typed(const Words& words);

/** What it is about ("daemon", "worker", "display" ...), which stands in the left column, and the text. */
using Line = std::pair<std::string, std::string>;

/** Of the left column and of the text, as the terminal numbers them; none if empty. */
using Colours = std::pair<std::string, std::string>;

/** Lines of at most 80 columns for a person on standard output, in colours where that is a terminal. */
class Log {
 public:
  void headline(const std::string& text, const std::string& colour = "1;4") const;
  /** Of a path that does not fit, what leads to the USB bus is left out. */
  void line(const std::string& about, const std::string& text) const;
  /** The same for what came of something that was done. */
  void event(const std::string& about, const std::string& text);
  /** The events since the last call. */
  std::vector<Line> takeEvents() { return std::exchange(events_, {}); }
  /** A line with any left column. */
  void item(std::string left, const std::string& text, const Colours& colours = {}) const;
  static void plain(const std::string& text);

  [[nodiscard]] static bool isColoured();

 private:
  static constexpr std::size_t aboutColumns = 10;

  [[nodiscard]] Words wrapped(const std::string& text, std::size_t columns) const;

  std::size_t columns_ = 80;
  std::size_t longestWord_ = 66;  ///< longer ones are divided
  std::vector<Line> events_;
};

}  // namespace demo

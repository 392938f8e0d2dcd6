#include "tools/recorder/recording_text.h"

#include <fcntl.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

#include "tools/recorder/error.h"
#include "ulx/exceptions.h"
#include "ulx/file_descriptor.h"

namespace recorder {

namespace {

std::string contentOf(const std::string& path) {
  try {
    return ulx::FileDescriptor(path, O_RDONLY).readAll();
  } catch (const ulx::ErrnoException& error) {
    throw systemError(error.context, error.errorNumber);
  }
}

/** The lines of a file. An error in one names the file and the number of the line. */
class Lines {
 public:
  explicit Lines(std::string path) : path_(std::move(path)), text_(contentOf(path_)) {}

  std::optional<std::string> next() {
    if (begin_ >= text_.size()) {
      return std::nullopt;
    }
    const std::size_t end = std::min(text_.find('\n', begin_), text_.size());
    std::string line = text_.substr(begin_, end - begin_);
    begin_ = end + 1;
    ++number_;
    if (line.ends_with('\r')) {
      throw error("line ends of another system (CR LF)");
    }
    return line;
  }

  [[nodiscard]] Error error(const std::string& complaint) const {
    return Error{path_ + ":" + std::to_string(number_) + ": " + complaint};
  }

  [[nodiscard]] std::string unescaped(std::string_view text) const {
    try {
      return recorder::unescaped(text);
    } catch (const Error& e) {
      throw error(e.what());
    }
  }

 private:
  std::string path_;
  std::string text_;
  std::size_t begin_ = 0;
  int number_ = 0;
};

std::optional<char> byteFromHex(std::string_view digits) {
  unsigned value = 0;
  const char* end = digits.data() + digits.size();
  const auto result = std::from_chars(digits.data(), end, value, 16);
  if (digits.size() != 2 || result.ec != std::errc{} || result.ptr != end) {
    return std::nullopt;
  }
  return static_cast<char>(value);
}

std::string bytesFromHex(const Lines& lines, std::string_view digits) {
  std::string bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    const std::optional<char> byte = byteFromHex(digits.substr(i, 2));
    if (!byte) {
      throw lines.error("not a pair of hexadecimal digits: " + std::string(digits.substr(i, 2)));
    }
    bytes += *byte;
  }
  return bytes;
}

struct Words {
  std::string_view kind;
  std::string_view path;
  std::string_view content;
};

Words splitTreeLine(std::string_view line) {
  const std::size_t first = std::min(line.find(' '), line.size());
  const std::string_view rest = line.substr(std::min(first + 1, line.size()));
  const std::size_t second = std::min(rest.find(' '), rest.size());
  return {line.substr(0, first), rest.substr(0, second), rest.substr(std::min(second + 1, rest.size()))};
}

TreeEntry parseTreeLine(const Lines& lines, std::string_view line) {
  const Words words = splitTreeLine(line);
  const std::string path = lines.unescaped(words.path);
  if (path.empty() || path.front() == '/') {
    throw lines.error("a path below /sys is missing");
  }
  if (words.kind == "d") {
    return {TreeEntry::Kind::directory, path, {}};
  }
  if (words.kind == "l" && !words.content.empty()) {
    return {TreeEntry::Kind::link, path, lines.unescaped(words.content)};
  }
  if (words.kind == "f") {
    return {TreeEntry::Kind::file, path, lines.unescaped(words.content)};
  }
  if (words.kind == "b") {
    return {TreeEntry::Kind::file, path, bytesFromHex(lines, words.content)};
  }
  throw lines.error("expected d PATH, l PATH TARGET, f PATH CONTENT or b PATH HEX");
}

/** The time in a line "@ 12 ms". */
int parseTime(const Lines& lines, std::string_view line) {
  constexpr std::string_view before = "@ ";
  constexpr std::string_view after = " ms";
  int time = 0;
  if (!line.starts_with(before)) {
    throw lines.error("expected the time of an event: @ MILLISECONDS ms");
  }
  const char* end = line.data() + line.size();
  const auto result = std::from_chars(line.data() + before.size(), end, time);
  if (result.ec != std::errc{} ||
      std::string_view(result.ptr, static_cast<std::size_t>(end - result.ptr)) != after) {
    throw lines.error("expected the time of an event: @ MILLISECONDS ms");
  }
  return time;
}

std::string readDatagram(Lines& lines) {
  std::string datagram;
  for (auto line = lines.next(); line && !line->empty(); line = lines.next()) {
    datagram += lines.unescaped(*line) + '\0';
  }
  return datagram;
}

/** The byte that an escape (with its backslash) stands for. */
std::optional<char> escapedByte(std::string_view escape) {
  if (escape == "\\n") {
    return '\n';
  }
  if (escape == "\\t") {
    return '\t';
  }
  if (escape == "\\\\") {
    return '\\';
  }
  return escape.starts_with("\\x") ? byteFromHex(escape.substr(2)) : std::nullopt;
}

}  // namespace

std::string unescaped(std::string_view text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      bytes += text[i];
      continue;
    }
    const std::string_view escape = text.substr(i, text.substr(i + 1).starts_with('x') ? 4 : 2);
    const std::optional<char> byte = escapedByte(escape);
    if (!byte) {
      throw Error("unknown escape: " + std::string(escape));
    }
    bytes += *byte;
    i += escape.size() - 1;
  }
  return bytes;
}

std::map<std::string, std::string> readAbout(const std::filesystem::path& file) {
  Lines lines(file);
  std::map<std::string, std::string> about;
  about["description"] = lines.unescaped(lines.next().value_or(""));
  while (const auto line = lines.next()) {
    const std::size_t colon = line->find(": ");
    if (colon == std::string::npos) {
      throw lines.error("expected KEY: VALUE");
    }
    about[line->substr(0, colon)] = lines.unescaped(line->substr(colon + 2));
  }
  return about;
}

std::vector<TreeEntry> readTree(const std::filesystem::path& file) {
  Lines lines(file);
  std::vector<TreeEntry> tree;
  while (const auto line = lines.next()) {
    tree.push_back(parseTreeLine(lines, *line));
  }
  return tree;
}

std::vector<RecordedEvent> readEvents(const std::filesystem::path& file) {
  Lines lines(file);
  std::vector<RecordedEvent> events;
  while (const auto line = lines.next()) {
    const int time = parseTime(lines, *line);
    events.push_back({time, readDatagram(lines)});
  }
  return events;
}

}  // namespace recorder

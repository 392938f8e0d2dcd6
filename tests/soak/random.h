#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace soak {

/** The source of every decision: the same seed makes the same ones on every machine. */
class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}

  /** 0 to `count` - 1. */
  std::size_t below(std::size_t count) { return static_cast<std::size_t>(engine_() % count); }
  /** Both ends included. */
  int between(int first, int last) {
    const auto count = static_cast<std::size_t>(last) - static_cast<std::size_t>(first) + 1;
    return first + static_cast<int>(below(count));
  }
  /** True once in `count` times. */
  bool oneIn(std::size_t count) { return below(count) == 0; }

  template <class Choices>
  const auto& pick(const Choices& choices) {
    return choices.begin()[static_cast<std::ptrdiff_t>(below(choices.size()))];
  }
  std::string word(std::initializer_list<const char*> words) { return pick(words); }

  std::string bytes(std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
      text += static_cast<char>(below(256));
    }
    return text;
  }

 private:
  std::mt19937_64 engine_;
};

}  // namespace soak

#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace explain {

/** Where the workers are to connect to. */
struct Transmitter {
  std::string hostname;
  std::uint16_t port = 0;
};

/** What the command line asks for. */
struct Request {
  enum class Answer { explanations, savedDevice, help, version };

  Answer answer = Answer::explanations;
  std::string configuration;
  std::optional<std::string> classList;
  std::string linkSpeed = "high";
  std::string deviceSpeed;  // of bare descriptors; empty: they say it, or nobody does
  std::string interface;
  std::optional<Transmitter> transmitter;
  bool json = false;
  std::vector<std::string> devices;  // none: those that are plugged in
  std::string folder;                // the new folder of `savedDevice`, which is the only one of `devices`
};

extern const char* const usage;

/** `arguments`: those after the program's name. Throws Error for what is not understood. */
[[nodiscard]] Request parseRequest(std::span<char* const> arguments);

}  // namespace explain

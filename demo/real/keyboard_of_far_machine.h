#pragma once

#include <string>

#include "kernel/pair/far_machine.h"

namespace demo {

/** Reads the keys of the keyboard that the far machine has from the receiver, from its construction on. */
class KeyboardOfFarMachine {
 public:
  /** Waits until the far machine has a keyboard, and reads it. */
  explicit KeyboardOfFarMachine(pair::FarMachine& far);
  ~KeyboardOfFarMachine();
  KeyboardOfFarMachine(const KeyboardOfFarMachine&) = delete;
  KeyboardOfFarMachine& operator=(const KeyboardOfFarMachine&) = delete;

  /** Waits for so many pressed keys; returns their letters, "?" for a key that is none. */
  std::string waitForKeys(std::size_t count);

 private:
  std::string pressed();

  pair::FarMachine& far_;
};

}  // namespace demo

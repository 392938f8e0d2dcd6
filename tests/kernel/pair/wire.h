#pragma once

namespace pair {

/** The wire between the two machines. A machine does not see at its network card that the wire is cut. */
class Wire {
 public:
  Wire() = default;
  /** Heals it. */
  ~Wire();
  Wire(const Wire&) = delete;
  Wire& operator=(const Wire&) = delete;

  /** From now on nothing arrives at either end. */
  void cut();
  void heal();

 private:
  bool isCut_ = false;
};

}  // namespace pair

#pragma once

#include <functional>
#include <string>

namespace sim {

/**
 * What a part of the unit has to say when somebody waits in vain. While the object lives, `tell` is asked
 * for every TimedOut of the process, whoever waited: a missing worker is mostly explained by the daemon's
 * last lines.
 */
class Testimony {
 public:
  explicit Testimony(std::function<std::string()> tell);
  ~Testimony();
  Testimony(const Testimony&) = delete;
  Testimony& operator=(const Testimony&) = delete;
  Testimony(Testimony&&) = delete;
  Testimony& operator=(Testimony&&) = delete;

 private:
  friend std::string allTestimonies();
  std::function<std::string()> tell_;
};

/** What all living testimonies say, one after another in the order in which they were made. */
[[nodiscard]] std::string allTestimonies();

}  // namespace sim

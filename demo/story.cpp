#include "demo/story.h"

#include <array>
#include <exception>

#include "demo/chronicle.h"
#include "demo/scenes/scenes.h"
#include "demo/stage.h"

namespace demo {

namespace {

constexpr std::array introduction = {
    "The daemon on a simulated unit: recorded devices come and go, and each step is checked.",
    "The left column tells who acts: the kernel (uevent), the daemon in its debug messages, the workers,",
    "the display at the user's desk, those who use the control socket (link), the administrator (config).",
    "Left out is what the daemon says of events that it takes no interest in."};

/** Goes through steps, and counts. */
class Showing {
 public:
  explicit Showing(Console& console) : console_(console), chronicle_(console) {}

  /** Each returns whether all went as expected. */
  bool scene(const Scene& scene);
  bool step(const Step& step, Stage& stage);

  [[nodiscard]] int stepsAsExpected() const { return stepsAsExpected_; }

 private:
  bool judge(const Step& step);

  Console& console_;
  Chronicle chronicle_;
  int stepsAsExpected_ = 0;
};

bool Showing::scene(const Scene& scene) {
  console_.title(scene.title);
  Stage stage(chronicle_);
  for (const Step& each : scene.steps) {
    if (!step(each, stage)) {
      return false;
    }
  }
  return true;
}

bool Showing::step(const Step& step, Stage& stage) {
  console_.headline(std::to_string(stepsAsExpected_ + 1) + ". " + step.headline);
  chronicle_.take();
  try {
    step.action(stage);
  } catch (const std::exception& error) {
    console_.line(Tag::Failed, "this step could not be done:");
    console_.plain(error.what());
    return false;
  }
  return judge(step);
}

bool Showing::judge(const Step& step) {
  const std::vector<std::string> found = differences(step.expected, chronicle_.take());
  for (const std::string& difference : found) {
    console_.line(Tag::Failed, difference);
  }
  if (!found.empty()) {
    return false;
  }
  console_.line(Tag::Ok, step.outcome);
  ++stepsAsExpected_;
  return true;
}

std::size_t countSteps(const std::vector<Scene>& scenes) {
  std::size_t count = 0;
  for (const Scene& scene : scenes) {
    count += scene.steps.size();
  }
  return count;
}

}  // namespace

std::vector<Scene> story() {
  return {linkNotKnownYet(),   defaultPolicy(),   policyChanges(), fullSpeedLink(),
          workersOfTheirOwn(), pluggedInBefore(), workersFail()};
}

bool show(const std::vector<Scene>& scenes, Console& console) {
  for (const char* line : introduction) {
    console.plain(line);
  }
  Showing showing(console);
  bool allWell = true;
  for (std::size_t i = 0; i < scenes.size() && allWell; ++i) {
    allWell = showing.scene(scenes[i]);
  }
  const std::string steps = std::to_string(showing.stepsAsExpected()) + " of " +
                            std::to_string(countSteps(scenes)) + " steps went as expected";
  console.headline(allWell ? steps + "." : steps + "; the one above did not, and ends the demo.");
  return allWell;
}

}  // namespace demo

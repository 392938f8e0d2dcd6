// Along which directories a worker's program is looked for: as execvp does it.

#include <gtest/gtest.h>
#include <sys/mount.h>

#include <algorithm>
#include <climits>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "sim/error.h"
#include "support/named_case.h"
#include "system/support/placed_programs.h"
#include "system/support/worker_launch.h"

namespace {

namespace fs = std::filesystem;

using support::placeProgram;
using support::placeText;

constexpr const char* first = "/search/first/usb_rx_generic";
constexpr const char* second = "/search/second/usb_rx_generic";
constexpr const char* here = "/search/here/usb_rx_generic";  // the working directory's

const std::string firstAndSecond = "/search/first:/search/second";

/** The program is in the working directory, in "second", and where `arrange` puts it. */
struct Search : support::NamedCase {
  std::string path;  ///< PATH
  std::string found;
  std::function<void()> arrange = [] {};
};

/** An element of PATH that has this length and is no directory. */
std::string elementOf(std::size_t length) {
  std::string element = "/search";
  while (element.size() < length) {
    element += "/" + std::string(std::min<std::size_t>(length - element.size() - 1, NAME_MAX), 'x');
  }
  return element;
}

void makeFirstALinkTo(const std::string& target) {
  fs::create_directories("/search/first");
  fs::create_symlink(target, first);
}

void placeProgramThatNobodyMayExecute() {
  placeProgram(first);
  fs::permissions(first, fs::perms::owner_read | fs::perms::owner_write);
}

void placeProgramWhereNoneIsExecuted() {
  fs::create_directories("/search/first");
  if (::mount("sim", "/search/first", "tmpfs", MS_NOEXEC, nullptr) != 0) {
    throw sim::systemError("mount(/search/first)");
  }
  placeProgram(first);
}

const std::vector<Search> searches = {
    {{"TakesTheFirstOfTwo"}, firstAndSecond, first, [] { placeProgram(first); }},
    {{"PassesOverAMissingDirectory"}, firstAndSecond, second},
    {{"PassesOverAnEmptyDirectory"}, firstAndSecond, second, [] { fs::create_directories("/search/first"); }},
    {{"PassesOverAFileInADirectorysPlace"}, firstAndSecond, second, [] { placeText("/search/first", ""); }},
    {{"PassesOverAFileThatIsNotExecutable"}, firstAndSecond, second, placeProgramThatNobodyMayExecute},
    {{"PassesOverAFileSystemWithoutPrograms"}, firstAndSecond, second, placeProgramWhereNoneIsExecuted},
    {{"PassesOverADirectoryOfThatName"}, firstAndSecond, second, [] { fs::create_directories(first); }},
    {{"PassesOverALinkToNothing"}, firstAndSecond, second, [] { makeFirstALinkTo("/search/nothing"); }},
    {{"PassesOverATextWhoseInterpreterIsMissing"},
     firstAndSecond,
     second,
     [] { placeText(first, "#!/search/nothing\n"); }},
    {{"PassesOverAnElementLongerThanAnyPath"},
     elementOf(PATH_MAX) + ":/search/second",
     second,
     [] { fs::remove(here); }},
    {{"FollowsALink"}, firstAndSecond, second, [] { makeFirstALinkTo(second); }},
    {{"TakesALeadingEmptyElementForTheWorkingDirectory"}, ":/search/second", here},
    {{"TakesAnEmptyElementForTheWorkingDirectory"}, "/search/first::/search/second", here},
    {{"TakesATrailingEmptyElementForTheWorkingDirectory"}, "/search/first:", here},
    {{"TakesAnEmptyPathForTheWorkingDirectory"}, "", here},
    {{"TakesTheWorkingDirectoryInItsTurn"}, "/search/second:", second},
    {{"PassesOverTheWorkingDirectoryWithoutTheProgram"}, ":/search/second", second, [] { fs::remove(here); }},
    {{"LooksInARelativeDirectory"}, "../second", second},
    {{"LooksInADirectoryThatEndsInASlash"}, "/search/second/", second},
};

const std::vector<Search> vainSearches = {
    {{"StopsAtAPathThatIsTooLong"}, elementOf(PATH_MAX - 1) + ":/search/second", ""},
    {{"StopsAtANameThatIsTooLong"}, "/search/" + std::string(NAME_MAX + 1, 'x') + ":/search/second", ""},
    {{"StopsAtALinkToItself"}, firstAndSecond, "", [] { makeFirstALinkTo("usb_rx_generic"); }},
    {{"EndsAfterTheLastDirectory"}, "/search/first:/search/nothing", ""},
    {{"DoesNotLookInTheWorkingDirectoryUnasked"}, "/search/nothing", ""},
};

class ProgramSearch : public support::WorkerLaunch {
 protected:
  ProgramSearch() {
    placeProgram(here);
    placeProgram(second);
  }

  /** Starts the daemon with PATH as it is given here, or with "PATH" alone without any. */
  void startWithPath(const std::string& variable) {
    sim::ProcessOptions world;
    world.workingDirectory = "/search/here";
    world.environment = {variable};
    startWith({}, world);
  }

  std::string foundProgram() { return support::executedFileOf(genericWorker().start.pid); }

  void expectToEndInVain() {
    unit.plug(support::mouse());
    EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
    EXPECT_EQ(unit.workers.count(), 0U);
  }
};

class ProgramSearchAlongPath : public ProgramSearch, public testing::WithParamInterface<Search> {};

INSTANTIATE_TEST_SUITE_P(Path, ProgramSearchAlongPath, testing::ValuesIn(searches),
                         testing::PrintToStringParamName());

TEST_P(ProgramSearchAlongPath, FindsTheProgram) {
  GetParam().arrange();
  startWithPath("PATH=" + GetParam().path);
  EXPECT_EQ(foundProgram(), GetParam().found);
}

class ProgramSearchInVain : public ProgramSearch, public testing::WithParamInterface<Search> {};

INSTANTIATE_TEST_SUITE_P(Path, ProgramSearchInVain, testing::ValuesIn(vainSearches),
                         testing::PrintToStringParamName());

TEST_P(ProgramSearchInVain, EndsTheDaemon) {
  GetParam().arrange();
  startWithPath("PATH=" + GetParam().path);
  expectToEndInVain();
}

TEST_F(ProgramSearch, StopsAtAProgramThatIsBeingWritten) {
  placeProgram(first);
  const std::ofstream written(first, std::ios::app);
  startWithPath("PATH=" + firstAndSecond);
  expectToEndInVain();
}

/** Directories without which a search has no PATH to go along. */
class ProgramSearchWithoutPath : public ProgramSearch {
 protected:
  void SetUp() override {
    unit.makePrivate("/usr/bin");
    if (fs::is_symlink("/bin")) {  // to the other one
      fs::remove("/bin");
    }
    unit.makePrivate("/bin");
  }
};

TEST_F(ProgramSearchWithoutPath, LooksInBin) {
  placeProgram("/bin/usb_rx_generic");
  placeProgram("/usr/bin/usb_rx_generic");
  startWithPath("PATH");
  EXPECT_EQ(foundProgram(), "/bin/usb_rx_generic");
}

TEST_F(ProgramSearchWithoutPath, LooksInUsrBinThereafter) {
  placeProgram("/usr/bin/usb_rx_generic");
  startWithPath("PATH");
  EXPECT_EQ(foundProgram(), "/usr/bin/usb_rx_generic");
}

TEST_F(ProgramSearchWithoutPath, LooksNowhereElse) {
  startWithPath("PATH");
  expectToEndInVain();
}

TEST_F(ProgramSearchWithoutPath, GivesTheWorkerNone) {
  placeProgram("/bin/usb_rx_generic");
  startWithPath("PATH");
  const support::Arguments environment = genericWorker().start.environment;
  EXPECT_TRUE(std::none_of(environment.begin(), environment.end(),
                           [](const std::string& variable) { return variable.starts_with("PATH="); }));
}

}  // namespace

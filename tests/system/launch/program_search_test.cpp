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

constexpr const char* first = "/sim/search/first/usb_rx_generic";
constexpr const char* second = "/sim/search/second/usb_rx_generic";
constexpr const char* here = "/sim/search/here/usb_rx_generic";  // the working directory's

const std::string firstAndSecond = "/sim/search/first:/sim/search/second";

/** The program is in the working directory, in "second", and where `arrange` puts it. */
struct Search : support::NamedCase {
  std::string path;  ///< PATH
  std::string found;
  std::function<void()> arrange = [] {};
};

/** An element of PATH that has this length and is no directory. */
std::string elementOf(std::size_t length) {
  std::string element = "/sim/search";
  while (element.size() < length) {
    element += "/" + std::string(std::min<std::size_t>(length - element.size() - 1, NAME_MAX), 'x');
  }
  return element;
}

void makeFirstALinkTo(const std::string& target) {
  fs::create_directories("/sim/search/first");
  fs::create_symlink(target, first);
}

void placeProgramThatNobodyMayExecute() {
  placeProgram(first);
  fs::permissions(first, fs::perms::owner_read | fs::perms::owner_write);
}

void placeProgramWhereNoneIsExecuted() {
  fs::create_directories("/sim/search/first");
  if (::mount("sim", "/sim/search/first", "tmpfs", MS_NOEXEC, nullptr) != 0) {
    throw sim::systemError("mount(/sim/search/first)");
  }
  placeProgram(first);
}

const std::vector<Search> searches = {
    {{"TakesTheFirstOfTwo"}, firstAndSecond, first, [] { placeProgram(first); }},
    {{"PassesOverAMissingDirectory"}, firstAndSecond, second},
    {{"PassesOverAnEmptyDirectory"},
     firstAndSecond,
     second,
     [] { fs::create_directories("/sim/search/first"); }},
    {{"PassesOverAFileInADirectorysPlace"},
     firstAndSecond,
     second,
     [] { placeText("/sim/search/first", ""); }},
    {{"PassesOverAFileThatIsNotExecutable"}, firstAndSecond, second, placeProgramThatNobodyMayExecute},
    {{"PassesOverAFileSystemWithoutPrograms"}, firstAndSecond, second, placeProgramWhereNoneIsExecuted},
    {{"PassesOverADirectoryOfThatName"}, firstAndSecond, second, [] { fs::create_directories(first); }},
    {{"PassesOverALinkToNothing"}, firstAndSecond, second, [] { makeFirstALinkTo("/sim/search/nothing"); }},
    {{"PassesOverATextWhoseInterpreterIsMissing"},
     firstAndSecond,
     second,
     [] { placeText(first, "#!/sim/search/nothing\n"); }},
    {{"PassesOverAnElementLongerThanAnyPath"},
     elementOf(PATH_MAX) + ":/sim/search/second",
     second,
     [] { fs::remove(here); }},
    {{"FollowsALink"}, firstAndSecond, second, [] { makeFirstALinkTo(second); }},
    {{"TakesALeadingEmptyElementForTheWorkingDirectory"}, ":/sim/search/second", here},
    {{"TakesAnEmptyElementForTheWorkingDirectory"}, "/sim/search/first::/sim/search/second", here},
    {{"TakesATrailingEmptyElementForTheWorkingDirectory"}, "/sim/search/first:", here},
    {{"TakesAnEmptyPathForTheWorkingDirectory"}, "", here},
    {{"TakesTheWorkingDirectoryInItsTurn"}, "/sim/search/second:", second},
    {{"PassesOverTheWorkingDirectoryWithoutTheProgram"},
     ":/sim/search/second",
     second,
     [] { fs::remove(here); }},
    {{"LooksInARelativeDirectory"}, "../second", second},
    {{"LooksInADirectoryThatEndsInASlash"}, "/sim/search/second/", second},
};

const std::vector<Search> vainSearches = {
    {{"StopsAtAPathThatIsTooLong"}, elementOf(PATH_MAX - 1) + ":/sim/search/second", ""},
    {{"StopsAtANameThatIsTooLong"},
     "/sim/search/" + std::string(NAME_MAX + 1, 'x') + ":/sim/search/second",
     ""},
    {{"StopsAtALinkToItself"}, firstAndSecond, "", [] { makeFirstALinkTo("usb_rx_generic"); }},
    {{"EndsAfterTheLastDirectory"}, "/sim/search/first:/sim/search/nothing", ""},
    {{"DoesNotLookInTheWorkingDirectoryUnasked"}, "/sim/search/nothing", ""},
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
    world.workingDirectory = "/sim/search/here";
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

/** Where it is looked for without PATH: directories of the unit's own. */
class ProgramSearchWithoutPath : public ProgramSearch {
 protected:
  void SetUp() override {
    if (!fs::is_symlink("/bin")) {
      GTEST_SKIP() << "the two directories cannot be told apart here";
    }
    unit.makePrivate("/usr/bin");
    target_ = fs::read_symlink("/bin");
    fs::remove("/bin");
    fs::create_directory("/bin");
  }

  // A later unit of this process begins with this one's directories.
  void TearDown() override {
    if (!target_.empty()) {
      fs::remove_all("/bin");
      fs::create_symlink(target_, "/bin");
      fs::remove("/usr/bin/usb_rx_generic");
    }
  }

 private:
  fs::path target_;
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

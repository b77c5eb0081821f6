// Names and settings before main() and after exit() began.

#include <cstdlib>
#include <cstring>
#include <string_view>

#include <cxxabi.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "core/TovGlobals.h"
#include "core/TovName.h"
#include "core/TovVArray.h"
#include "tests/core/ChildProcess.h"

namespace {

bool isAnnounced = false; ///< the end is reported on standard error

void report(std::string_view line)
{
  if (isAnnounced && ::write(2, line.data(), line.size()) < 0)
    std::_Exit(3);
}

bool namesWork(const char* text)
{
  const TovName name = TovName::getString(text);
  TovName joined = name.addSep(TovName::sprintf("%d", 7), '.');
  joined += TovName::nullName;
  return std::strcmp(name.c_str(), text) == 0 && name == TovName::getString(text) &&
         joined.suffix(1, '.') == TovName::getString(7) && TovName::nullName.getLength() == 0 &&
         TovVArray::null.getCount() == 0;
}

bool settingsWork(const char* declared, const char* referred)
{
  TovPlug* const plug = TovGlobals::def(TovName::getString(declared), "41", kTovIdInteger);
  TovPlug* const made = TovGlobals::ref(TovName::getString(referred), kTovIdFloat, 1);
  made->set("1.5");
  return plug->asInt() == 41 && made->asFloat() == 1.5f &&
         TovGlobals::ref(TovName::getString(declared), kTovIdInteger, 1) == plug;
}

class LivesAroundMain {
public:
  explicit LivesAroundMain(const char* text)
      : namesWorked(namesWork(text)),
        settingsWorked(settingsWork("test.beforeMain", "test.madeBeforeMain")),
        name(TovName::getString(text)),
        plug(TovGlobals::ref(TovName::getString("test.beforeMain"), kTovIdInteger, 1))
  {
  }

  ~LivesAroundMain()
  {
    if (!namesWork("names in a static destructor") || name.getLength() == 0 ||
        !(name == TovName::getString(name.c_str())))
      std::_Exit(4);
    if (!settingsWork("test.afterMain", "test.madeAfterMain") || plug->asInt() != 41 ||
        TovGlobals::ref(TovName::getString("test.beforeMain"), kTovIdInteger, 1) != plug)
      std::_Exit(5);
    report("static destructor\n");
  }

  LivesAroundMain(const LivesAroundMain&) = delete;
  LivesAroundMain& operator=(const LivesAroundMain&) = delete;

  const bool namesWorked;
  const bool settingsWorked;
  TovName name;
  TovPlug* plug;
};

// The lowest priority that a program may use: before everything else of it.
__attribute__((init_priority(101))) LivesAroundMain first("constructed first");
LivesAroundMain ordinary("constructed in between");

TEST(StaticLifetime, StaticConstructorsMayUseNames)
{
  EXPECT_TRUE(first.namesWorked);
  EXPECT_TRUE(ordinary.namesWorked);
}

TEST(StaticLifetime, StaticConstructorsMayUseSettings)
{
  EXPECT_TRUE(first.settingsWorked);
  EXPECT_TRUE(ordinary.settingsWorked);
}

TEST(StaticLifetime, NamesAndSettingsOfStaticConstructorsAreThoseOfMain)
{
  EXPECT_TRUE(first.name == TovName::getString("constructed first"));
  EXPECT_EQ(TovGlobals::ref(TovName::getString("test.beforeMain"), kTovIdInteger, 1), first.plug);
  EXPECT_EQ(first.plug->asInt(), 41);
}

TEST(StaticLifetimeDeathTest, NamesAndSettingsWorkAfterExitBegan)
{
  EXPECT_EXIT(
      {
        isAnnounced = true;
        std::exit(0);
      },
      testing::ExitedWithCode(0), "static destructor\nstatic destructor\n");
}

TEST(StaticLifetime, NamesAndSettingsWorkBehindTheDestructorsOfAllLibraries)
{
  const int result = support::runInChild([] {
    const TovName kept = TovName::getString("kept across all destructors");
    // Runs the destructors of all static objects, the loaded libraries' too.
    abi::__cxa_finalize(nullptr);
    if (!namesWork("names behind all destructors") || kept.getLength() != 27 ||
        !(kept == TovName::getString("kept across all destructors")))
      return 1;
    if (!settingsWork("test.behindDestructors", "test.madeBehindDestructors") ||
        TovGlobals::ref(TovName::getString("test.beforeMain"), kTovIdInteger, 1)->asInt() != 41)
      return 2;
    return 0;
  });
  EXPECT_EQ(result, 0);
}

} // namespace

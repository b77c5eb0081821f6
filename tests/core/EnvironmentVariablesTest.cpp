#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "core/TovFile.h"

namespace {

/** Sets an environment variable for a scope. */
class Variable {
public:
  Variable(const char* variableName, const char* value) : name(variableName)
  {
    ::setenv(name, value, 1);
  }
  ~Variable() { ::unsetenv(name); }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

private:
  const char* name;
};

std::string replaced(const std::string& text)
{
  const TovName result =
      TovFile::replaceEnvVars(TovName::getString(text.data(), text.size()));
  return {result.c_str(), result.getLength()};
}

class EnvironmentVariables : public testing::Test {
protected:
  const Variable media{"TOVA", "/media/disk"};
  const Variable folder{"TOV_B2", "takes"};
  const Variable empty{"TOV_EMPTY", ""};
};

TEST_F(EnvironmentVariables, PlainAndBracedReferencesAreReplaced)
{
  EXPECT_EQ(replaced("$TOVA"), "/media/disk");
  EXPECT_EQ(replaced("${TOVA}"), "/media/disk");
  EXPECT_EQ(replaced("$TOVA/a.wav"), "/media/disk/a.wav");
  EXPECT_EQ(replaced("x/${TOVA}y"), "x//media/disky");
  EXPECT_EQ(replaced("$TOV_B2.wav"), "takes.wav");
}

TEST_F(EnvironmentVariables, AllReferencesOfATextAreReplaced)
{
  EXPECT_EQ(replaced("$TOVA/$TOV_B2/${TOV_B2}-$TOV_B2"), "/media/disk/takes/takes-takes");
  EXPECT_EQ(replaced("$TOVA$TOV_B2"), "/media/disktakes");
  EXPECT_EQ(replaced("${TOVA}${TOV_B2}"), "/media/disktakes");
}

TEST_F(EnvironmentVariables, EmptyValueReplacesItsReferenceByNothing)
{
  EXPECT_EQ(replaced("a${TOV_EMPTY}b"), "ab");
  EXPECT_EQ(replaced("$TOV_EMPTY"), "");
}

TEST_F(EnvironmentVariables, TextWithoutReferencesStays)
{
  for (const char* text : {"", "/media/a.wav", "plain {TOVA} text", "TOVA", "a}b{c", "%TOVA%"})
    EXPECT_EQ(replaced(text), text);
}

TEST_F(EnvironmentVariables, UnknownVariablesStayAsTheyAre)
{
  for (const char* text : {"$TOV_UNKNOWN", "${TOV_UNKNOWN}", "a/$TOV_UNKNOWN/b",
                           "a${TOV_UNKNOWN}b", "$TOV_UNKNOWN.wav"})
    EXPECT_EQ(replaced(text), text);
  EXPECT_EQ(replaced("$TOV_UNKNOWN/$TOV_B2/${TOV_UNKNOWN}"), "$TOV_UNKNOWN/takes/${TOV_UNKNOWN}");
}

TEST_F(EnvironmentVariables, NameReachesAsFarAsItsLettersDigitsAndUnderscores)
{
  EXPECT_EQ(replaced("$TOVAB"), "$TOVAB");
  EXPECT_EQ(replaced("$TOVA_"), "$TOVA_");
  EXPECT_EQ(replaced("$TOVA1"), "$TOVA1");
  EXPECT_EQ(replaced("${TOVA}B"), "/media/diskB");
  EXPECT_EQ(replaced("$TOVA-B"), "/media/disk-B");
  EXPECT_EQ(replaced("$tova"), "$tova");
}

TEST_F(EnvironmentVariables, LoneDollarsStay)
{
  for (const char* text : {"$", "a$", "$/", "$$", "a $ b", "$ TOVA", "$.wav", "${", "${}", "$}"})
    EXPECT_EQ(replaced(text), text);
  EXPECT_EQ(replaced("$$TOV_B2"), "$takes");
}

TEST_F(EnvironmentVariables, UnterminatedBraceStays)
{
  for (const char* text : {"${TOVA", "a/${TOVA/b", "${TOV_UNKNOWN", "${TOVA "})
    EXPECT_EQ(replaced(text), text);
}

TEST_F(EnvironmentVariables, ValuesAreNotReplacedAgain)
{
  const Variable plain("TOV_PLAIN", "$TOVA");
  const Variable braced("TOV_BRACED", "${TOV_B2}");
  const Variable itself("TOV_ITSELF", "$TOV_ITSELF");
  const Variable dollar("TOV_DOLLAR", "$");
  EXPECT_EQ(replaced("$TOV_PLAIN/x"), "$TOVA/x");
  EXPECT_EQ(replaced("${TOV_BRACED}"), "${TOV_B2}");
  EXPECT_EQ(replaced("$TOV_ITSELF"), "$TOV_ITSELF");
  EXPECT_EQ(replaced("${TOV_DOLLAR}TOVA"), "$TOVA");
}

TEST_F(EnvironmentVariables, NestedReferencesNameNoVariable)
{
  const Variable joined("TOV_takes", "must not be reached");
  const std::string result = replaced("${TOV_${TOV_B2}}");
  EXPECT_TRUE(result == "${TOV_${TOV_B2}}" || result == "${TOV_takes}") << result;
}

TEST_F(EnvironmentVariables, LongValuesAndTextsAreWhole)
{
  const std::string value(100000, 'v');
  const std::string around(50000, '-');
  const Variable variable("TOV_LONG", value.c_str());
  EXPECT_TRUE(replaced(around + "${TOV_LONG}" + around + "$TOV_LONG") ==
              around + value + around + value);
  EXPECT_TRUE(replaced("$" + value) == "$" + value);
  EXPECT_TRUE(replaced("${" + value + "}") == "${" + value + "}");
}

} // namespace

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "io/TovAudioTranslator.h"

namespace {

std::string suffixesOf(const char* formats)
{
  return getSuffixes(TovName::getString(formats)).c_str();
}

int check(const char* list, const char* name)
{
  return checkSuffix(TovName::getString(list), TovName::getString(name));
}

TEST(GetSuffixes, JoinsTheSuffixesOfABraceGroup)
{
  EXPECT_EQ(suffixesOf("Audio IFF{aif;aiff}"), "aif|aiff");
  EXPECT_EQ(suffixesOf("Wav{wav;wave}"), "wav|wave");
  EXPECT_EQ(suffixesOf("One{a}"), "a");
}

TEST(GetSuffixes, JoinsTheGroupsOfSeveralFormats)
{
  EXPECT_EQ(suffixesOf("Audio IFF{aif;aiff}|Wav{wav;wave}"), "aif|aiff|wav|wave");
  EXPECT_EQ(suffixesOf("{a}{b}c{d}"), "a|b|d");
}

TEST(GetSuffixes, WithoutBracesThereAreNone)
{
  EXPECT_TRUE(getSuffixes(TovName::getString("Audio IFF")) == TovName::nullName);
  EXPECT_TRUE(getSuffixes(TovName::getString("a;b|c")) == TovName::nullName);
  EXPECT_TRUE(getSuffixes(TovName::nullName) == TovName::nullName);
  EXPECT_EQ(suffixesOf("a}b"), "");
}

TEST(GetSuffixes, SeparatesInsideAGroupAtBarsToo)
{
  EXPECT_EQ(suffixesOf("x{a|b;c}"), "a|b|c");
}

TEST(GetSuffixes, LeavesOutEmptySuffixes)
{
  EXPECT_EQ(suffixesOf("x{}"), "");
  EXPECT_EQ(suffixesOf("x{;}"), "");
  EXPECT_EQ(suffixesOf("x{;;a;|b;}"), "a|b");
}

TEST(GetSuffixes, AnUnclosedGroupEndsWithTheText)
{
  EXPECT_EQ(suffixesOf("x{"), "");
  EXPECT_EQ(suffixesOf("x{a"), "a");
  EXPECT_EQ(suffixesOf("x{a;"), "a");
  EXPECT_EQ(suffixesOf("x{a;b"), "a|b");
}

TEST(GetSuffixes, ABraceInsideAGroupBelongsToTheSuffix)
{
  EXPECT_EQ(suffixesOf("x{a{b;c}d"), "a{b|c");
}

TEST(GetSuffixes, TextBehindAGroupIsOutsideAgain)
{
  EXPECT_EQ(suffixesOf("}{a};b|c"), "a");
  EXPECT_EQ(suffixesOf("{a}}{b}"), "a|b");
}

TEST(GetSuffixes, KeepsCaseBlanksAndDuplicates)
{
  EXPECT_EQ(suffixesOf("x{A; b ;A}"), "A| b |A");
}

TEST(CheckSuffix, FindsAnyNameOfTheList)
{
  for (const char* name : {"aif", "aiff", "wav"})
    EXPECT_EQ(check("aif|aiff|wav", name), 1) << name;
  EXPECT_EQ(check("wav", "wav"), 1);
}

TEST(CheckSuffix, ComparesWholeNamesOnly)
{
  for (const char* name : {"ai", "aifff", "aif|aiff", "iff", "wav ", "|", "x"})
    EXPECT_EQ(check("aif|aiff|wav", name), 0) << name;
}

TEST(CheckSuffix, IgnoresCase)
{
  EXPECT_EQ(check("aif|aiff", "AIFF"), 1);
  EXPECT_EQ(check("AIF|AiFf", "aiff"), 1);
  EXPECT_EQ(check("Audio IFF{aif;aiff}", "audio iff"), 1);
}

TEST(CheckSuffix, AgainstAFormatStringOnlyDisplayNamesMatch)
{
  const char* formats = "Audio IFF{aif;aiff}|Wav{wav2;wave}";
  EXPECT_EQ(check(formats, "Audio IFF"), 1);
  EXPECT_EQ(check(formats, "Wav"), 1);
  for (const char* name : {"aif", "aiff", "wav2", "wave", "Audio IFF{aif;aiff}", "aif;aiff"})
    EXPECT_EQ(check(formats, name), 0) << name;
}

TEST(CheckSuffix, NoNameIsInAnEmptyList)
{
  EXPECT_EQ(check("", ""), 0);
  EXPECT_EQ(check("", "wav"), 0);
  EXPECT_EQ(checkSuffix(TovName::nullName, TovName::nullName), 0);
}

TEST(CheckSuffix, TheEmptyNameIsInNoList)
{
  for (const char* list : {"a", "a||b", "|", "||", "|a|", "{", "{}", "a{}", "a{}|"})
    EXPECT_EQ(check(list, ""), 0) << list;
}

TEST(CheckSuffix, PassesOverEmptyNames)
{
  EXPECT_EQ(check("|a", "a"), 1);
  EXPECT_EQ(check("|||a", "a"), 1);
  EXPECT_EQ(check("a||b", "b"), 1);
  EXPECT_EQ(check("a|", "b"), 0);
  EXPECT_EQ(check("a|b|", "b"), 1);
}

TEST(CheckSuffix, TheNameBehindAGroupNeedsNoBar)
{
  EXPECT_EQ(check("a{x}b", "b"), 1);
  EXPECT_EQ(check("a{x}b{y}c", "c"), 1);
  EXPECT_EQ(check("a{x}|b", "b"), 1);
}

TEST(CheckSuffix, BarsInsideThePassedGroupSeparateNothing)
{
  EXPECT_EQ(check("a{x|b|y}c", "b"), 0);
  EXPECT_EQ(check("a{x|b|y}c", "c"), 1);
}

TEST(CheckSuffix, AnUnclosedGroupEndsTheList)
{
  EXPECT_EQ(check("a{x|b", "b"), 0);
  EXPECT_EQ(check("a{x|b", "x"), 0);
  EXPECT_EQ(check("a{", "b"), 0);
  EXPECT_EQ(check("b|a{x", "b"), 1);
}

TEST(CheckSuffix, TheNameInFrontOfAnUnclosedGroupStillMatches)
{
  EXPECT_EQ(check("a{x|b", "a"), 1);
  EXPECT_EQ(check("a{", "a"), 1);
}

TEST(CheckSuffix, AGroupWithoutANameIsReadAsNames)
{
  // Its opening brace is stepped over like a bar; the closing one then
  // belongs to the last name.
  EXPECT_EQ(check("{wav|wave}", "wav"), 1);
  EXPECT_EQ(check("{wav|wave}", "wave"), 0);
  EXPECT_EQ(check("{wav|wave}", "wave}"), 1);
  EXPECT_EQ(check("{wav;wave}", "wav"), 0);
  EXPECT_EQ(check("{wav;wave}", "wav;wave}"), 1);
  EXPECT_EQ(check("a|{b|c", "b"), 1);
  EXPECT_EQ(check("a|{b|c", "c"), 1);
}

TEST(CheckSuffix, ASecondGroupDirectlyBehindTheFirstIsReadAsNames)
{
  EXPECT_EQ(check("a{x}{b|c}", "b"), 1);
  EXPECT_EQ(check("a{x}{b|c}", "c}"), 1);
  EXPECT_EQ(check("a{x}{b|c}", "x"), 0);
  EXPECT_EQ(check("{{a", "a"), 1);
}

TEST(CheckSuffix, AGroupBehindANameReadFromAGroupIsPassedOver)
{
  EXPECT_EQ(check("{a{x|b}c", "a"), 1);
  EXPECT_EQ(check("{a{x|b}c", "b"), 0);
  EXPECT_EQ(check("{a{x|b}c", "c"), 1);
}

TEST(CheckSuffix, ALoneBraceEndsTheList)
{
  EXPECT_EQ(check("{", "{"), 0);
  EXPECT_EQ(check("a{x}", "}"), 0);
  EXPECT_EQ(check("a|{", "{"), 0);
}

TEST(CheckSuffix, AClosingBraceOutsideAGroupIsPartOfTheName)
{
  EXPECT_EQ(check("}", "}"), 1);
  EXPECT_EQ(check("a}b|c", "a}b"), 1);
  EXPECT_EQ(check("a}b|c", "b"), 0);
}

TEST(CheckSuffix, SemicolonsSeparateNothing)
{
  EXPECT_EQ(check("a;b", "a"), 0);
  EXPECT_EQ(check("a;b", "a;b"), 1);
}

TEST(CheckSuffix, SuffixesOfAFormatMatchInItsSuffixList)
{
  const TovName suffixes = getSuffixes(TovName::getString("Audio IFF{aif;aiff}|Wav{wav;wave}"));
  for (const char* name : {"aif", "AIFF", "wav", "Wave"})
    EXPECT_EQ(checkSuffix(suffixes, TovName::getString(name)), 1) << name;
  for (const char* name : {"Audio IFF", "audio", "mp3", ""})
    EXPECT_EQ(checkSuffix(suffixes, TovName::getString(name)), 0) << name;
}

} // namespace

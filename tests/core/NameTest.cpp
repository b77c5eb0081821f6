#include "core/TovName.h"

#include <climits>
#include <cstring>
#include <cwchar>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/core/AllocationCounter.h"
#include "tests/core/ChildProcess.h"

namespace {

TovName name(const char* text)
{
  return TovName::getString(text);
}

void expectText(const TovName& actual, const std::string& expected)
{
  EXPECT_EQ(std::string(actual.c_str(), actual.getLength()), expected);
  EXPECT_EQ(actual.c_str()[actual.getLength()], '\0');
  EXPECT_TRUE(actual == TovName::getString(expected.data(), expected.size()));
}

TEST(Name, DefaultNullAndEmptyTextAreTheEmptyName)
{
  for (const TovName& empty : {TovName(), TovName::nullName, name(""), name(nullptr),
                               TovName::getString("abc", 0), TovName::getString(nullptr, 0)}) {
    EXPECT_STREQ(empty.c_str(), "");
    EXPECT_EQ(empty.getLength(), 0u);
    EXPECT_TRUE(empty == TovName::nullName);
  }
}

TEST(Name, EqualTextsAreOneSharedString)
{
  std::string first = "kick.wav";
  std::string second = "kick.wav";
  const TovName a = name(first.c_str());
  const TovName b = name(second.c_str());
  EXPECT_TRUE(a == b);
  EXPECT_EQ(a.c_str(), b.c_str());
  first[0] = 'x';
  EXPECT_STREQ(a.c_str(), "kick.wav") << "the text is the name's own";
}

TEST(Name, DifferentTextsAreDifferentNames)
{
  const char* const texts[] = {"", "a", "b", "A", "ab", "ba", "aa", " a", "a "};
  for (const char* first : texts) {
    for (const char* second : texts)
      EXPECT_EQ(name(first) == name(second), first == second) << first << " and " << second;
  }
}

TEST(Name, LengthFormTakesThatManyBytes)
{
  expectText(TovName::getString("snare.aiff", 5), "snare");
  expectText(TovName::getString("snare.aiff", 10), "snare.aiff");
  const char unterminated[] = {'h', 'a', 't'};
  expectText(TovName::getString(unterminated, 3), "hat");
  EXPECT_TRUE(TovName::getString("snare.aiff", 5) == name("snare"));
}

TEST(Name, LengthFormKeepsEmbeddedZeros)
{
  const TovName embedded = TovName::getString("a\0b", 3);
  EXPECT_EQ(embedded.getLength(), 3u);
  EXPECT_EQ(std::memcmp(embedded.c_str(), "a\0b", 4), 0);
  EXPECT_FALSE(embedded == name("a"));
  EXPECT_FALSE(embedded == TovName::getString("a\0c", 3));
  EXPECT_TRUE(embedded == TovName::getString("a\0b", 3));
  EXPECT_FALSE(TovName::getString("\0", 1) == TovName::nullName);
}

TEST(Name, NumbersAreDecimal)
{
  expectText(TovName::getString(44100), "44100");
  expectText(TovName::getString(0), "0");
  expectText(TovName::getString(-1), "-1");
  expectText(TovName::getString(INT_MAX), std::to_string(INT_MAX));
  expectText(TovName::getString(INT_MIN), std::to_string(INT_MIN));
}

TEST(Name, LongTextsAreWhole)
{
  for (const std::size_t length : {255u, 256u, 4095u, 4096u, 65536u, 1000000u}) {
    const std::string text(length, 'n');
    expectText(TovName::getString(text.c_str()), text);
  }
}

TEST(Name, CopiesOutliveTheNameTheyWereMadeFrom)
{
  TovName kept;
  {
    const TovName source = name("outlives its source");
    const TovName copy(source);
    kept = copy;
  }
  expectText(kept, "outlives its source");
}

TEST(Name, AssignmentReplacesTheTextAndReturnsTheName)
{
  TovName target = name("before");
  const TovName source = name("after");
  EXPECT_EQ(&(target = source), &target);
  expectText(target, "after");
  expectText(source, "after");
  target = TovName::nullName;
  expectText(target, "");
}

TEST(Name, AssignmentToItselfChangesNothing)
{
  TovName only = name("the only reference to this text");
  const TovName& alias = only;
  EXPECT_EQ(&(only = alias), &only);
  expectText(only, "the only reference to this text");
}

TEST(Name, AppendingJoinsTheTexts)
{
  TovName joined = name("drum");
  EXPECT_EQ(&(joined += name("kit")), &joined);
  expectText(joined, "drumkit");
  joined += TovName::nullName;
  expectText(joined, "drumkit");
  TovName empty;
  empty += joined;
  expectText(empty, "drumkit");
  EXPECT_TRUE(empty == joined);
  TovName stillEmpty;
  stillEmpty += TovName();
  expectText(stillEmpty, "");
}

TEST(Name, AppendingANameToItselfDoublesIt)
{
  TovName twice = name("echo ");
  twice += twice;
  expectText(twice, "echo echo ");
}

TEST(Name, AppendingLeavesOtherNamesOfTheOldText)
{
  TovName changed = name("shared text");
  const TovName other = changed;
  changed += name("!");
  expectText(other, "shared text");
  EXPECT_STREQ(TovName::nullName.c_str(), "");
}

TEST(Name, AddSepJoinsNonEmptyTextsWithTheSeparator)
{
  const TovName first = name("aif");
  expectText(first.addSep(name("aiff"), '|'), "aif|aiff");
  expectText(first, "aif");
  expectText(first.addSep(first, '.'), "aif.aif");
  expectText(name("a|").addSep(name("|b"), '|'), "a|||b");
}

TEST(Name, AddSepLeavesTheSeparatorOutBesideAnEmptyName)
{
  expectText(name("aif").addSep(TovName(), '|'), "aif");
  expectText(TovName().addSep(name("aif"), '|'), "aif");
  expectText(TovName().addSep(TovName(), '|'), "");
}

TEST(Name, SuffixOfOnePartIsTheTextAfterTheLastSeparator)
{
  expectText(name("take.AIFF").suffix(1, '.'), "AIFF");
  expectText(name("a.b.c").suffix(1, '.'), "c");
  expectText(name("/folder.d/take 1.wav").suffix(1, '.'), "wav");
  expectText(name("/folder.d/take").suffix(1, '.'), "d/take");
  expectText(name(".wav").suffix(1, '.'), "wav");
  expectText(name("a/b.c").suffix(1, '/'), "b.c");
}

TEST(Name, SuffixAfterATrailingSeparatorIsEmpty)
{
  expectText(name("take.").suffix(1, '.'), "");
  expectText(name(".").suffix(1, '.'), "");
  expectText(name("take..").suffix(1, '.'), "");
}

TEST(Name, SuffixWithoutTheSeparatorIsTheEmptyName)
{
  EXPECT_TRUE(name("take").suffix(1, '.') == TovName::nullName);
  EXPECT_TRUE(name("take.wav").suffix(1, '|') == TovName::nullName);
  EXPECT_TRUE(TovName().suffix(1, '.') == TovName::nullName);
}

TEST(Name, SuffixOfSeveralPartsKeepsTheSeparatorsBetweenThem)
{
  expectText(name("a.b.c.d").suffix(2, '.'), "c.d");
  expectText(name("a.b.c.d").suffix(3, '.'), "b.c.d");
  expectText(name("a..c").suffix(2, '.'), ".c");
}

TEST(Name, SuffixOfMorePartsThanSeparatorsIsTheEmptyName)
{
  EXPECT_TRUE(name("a.b.c.d").suffix(4, '.') == TovName::nullName);
  EXPECT_TRUE(name("a.b").suffix(2, '.') == TovName::nullName);
  EXPECT_TRUE(name("a.b").suffix(INT_MAX, '.') == TovName::nullName);
}

TEST(Name, SuffixOfNoPartsIsTheEmptyName)
{
  EXPECT_TRUE(name("a.b.c").suffix(0, '.') == TovName::nullName);
  EXPECT_TRUE(name("a.b.c").suffix(-1, '.') == TovName::nullName);
  EXPECT_TRUE(name("a.b.c").suffix(INT_MIN, '.') == TovName::nullName);
}

TEST(Name, SprintfFormats)
{
  expectText(TovName::sprintf("plain"), "plain");
  expectText(TovName::sprintf("%s(\"%s\");\n", "SetAudio", "x_-9"), "SetAudio(\"x_-9\");\n");
  expectText(TovName::sprintf("%d %5.2f%% %c", -3, 12.345, 'z'), "-3 12.35% z");
  const TovName interned = TovName::sprintf("%s", "same");
  EXPECT_TRUE(interned == name("same"));
}

TEST(Name, SprintfOfNothingIsTheEmptyName)
{
  EXPECT_TRUE(TovName::sprintf("%s", "") == TovName::nullName);
}

TEST(Name, SprintfOfLongTextsIsWhole)
{
  for (const std::size_t length : {100u, 254u, 255u, 256u, 257u, 511u, 512u, 1023u, 1024u, 1025u,
                                   4095u, 4096u, 4097u, 65536u, 3000000u}) {
    const std::string text(length, 's');
    expectText(TovName::sprintf("<%s>", text.c_str()), "<" + text + ">");
  }
}

TEST(Name, SprintfThatFailsGivesTheEmptyName)
{
  // No multibyte text of the "C" locale has this character.
  const TovName failed = TovName::sprintf("before %lc after", static_cast<wint_t>(0x10FFFF));
  EXPECT_TRUE(failed == TovName::nullName);
}

TEST(Name, TextsGiveTheirMemoryBackWithTheirLastName)
{
  const auto useNames = [](const char* text) {
    std::vector<TovName> names;
    names.reserve(500);
    for (int i = 0; i < 500; ++i)
      names.push_back(TovName::sprintf("%s %d", text, i));
  };
  useNames("the table grows to its size first");
  const support::AllocationCounter counter;
  useNames("and keeps it for as many other texts");
  EXPECT_GT(counter.allocations(), 500);
  EXPECT_EQ(counter.allocations(), counter.deallocations());
}

TEST(Name, FailedAllocationLeavesNoLockHeld)
{
  // In a child, since a lock left behind would block for ever.
  const auto failEachAllocation = [] {
    for (int n = 0; n < 100; ++n) {
      const std::string text = "interned under want of memory " + std::to_string(n);
      bool hasFailed = false;
      try {
        const support::FailingAllocation failure(n);
        const TovName interned = TovName::getString(text.c_str());
        hasFailed = failure.happened();
      } catch (const std::bad_alloc&) {
        hasFailed = true;
      }
      if (TovName::getString(text.c_str()).c_str() != text)
        return 1;
      if (!hasFailed)
        return n == 0 ? 2 : 0;
    }
    return 3;
  };
  EXPECT_EQ(support::runInChild(failEachAllocation), 0);
}

} // namespace

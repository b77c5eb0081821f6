#include "core/TovScript.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/TovFile.h"
#include "tests/core/CompressorSamples.h"
#include "tests/support/TempFolder.h"

namespace {

std::vector<std::optional<std::string>> loaded; ///< the load hook's arguments, null as none
std::vector<TovFile*> saved;                    ///< the save hook's files

void load(const char* text)
{
  loaded.push_back(text ? std::optional<std::string>(text) : std::nullopt);
}

void save(TovFile* file)
{
  saved.push_back(file);
  if (file)
    file->printf("%s(\"%s\");\n", TovScript::_audioLoadCmd, "saved");
}

TovString toString()
{
  return TovString("SetAudio(\"as text\");\n");
}

class Script : public testing::Test {
protected:
  Script()
  {
    loaded.clear();
    saved.clear();
    TovScript::setAudioCallbacks(save, load, toString);
  }
  ~Script() override { TovScript::setAudioCallbacks(nullptr, nullptr, nullptr); }

  static void expectArgument(const std::string& script, const std::string& argument)
  {
    loaded.clear();
    EXPECT_EQ(TovScript::runAudio(script.c_str()), 0) << script;
    ASSERT_EQ(loaded.size(), 1u) << script;
    ASSERT_TRUE(loaded[0].has_value()) << script;
    EXPECT_EQ(*loaded[0], argument) << script;
  }

  static void expectNull(const std::string& script)
  {
    loaded.clear();
    EXPECT_EQ(TovScript::runAudio(script.c_str()), 0) << script;
    ASSERT_EQ(loaded.size(), 1u) << script;
    EXPECT_FALSE(loaded[0].has_value()) << script;
  }

  static void expectNoCommand(const std::string& script)
  {
    loaded.clear();
    EXPECT_NE(TovScript::runAudio(script.c_str()), 0) << script;
    EXPECT_EQ(loaded.size(), 0u) << script;
  }
};

TEST_F(Script, CommandsNameIsSetAudio)
{
  EXPECT_STREQ(TovScript::_audioLoadCmd, "SetAudio");
}

TEST_F(Script, CommandAloneRunsTheLoadHookWithItsUnquotedArgument)
{
  expectArgument("SetAudio(\"abc-_9\");\n", "abc-_9");
  expectArgument("SetAudio(\"abc\");", "abc");
  expectArgument("SetAudio(\"\");\n", "");
}

TEST_F(Script, CommandIsFoundAmongOtherLines)
{
  expectArgument("SetFps(24);\nFileIn(\"a.iff\", 1, \"x\");\nSetAudio(\"abc\");\nSetTime(1);\n",
                 "abc");
  expectArgument("a = 3; SetAudio(\"abc\"); b = \"4\";", "abc");
  expectArgument("\r\nSetFps(24);\r\n\r\nSetAudio(\"abc\");\r\n", "abc");
  expectArgument("\t  SetAudio(\"abc\");", "abc");
}

TEST_F(Script, WhiteSpaceAroundTheParenthesesIsPassedOver)
{
  expectArgument("SetAudio (\"abc\");", "abc");
  expectArgument("SetAudio( \"abc\" ) ;", "abc");
  expectArgument("SetAudio\n(\n\t\"abc\"\r\n)\n;", "abc");
}

TEST_F(Script, FirstOfTwoCommandsRuns)
{
  expectArgument("SetAudio(\"first\");\nSetAudio(\"second\");\n", "first");
}

TEST_F(Script, EmptyArgumentListGivesNull)
{
  expectNull("SetAudio();\n");
  expectNull("SetFps(24);\nSetAudio( \n );\nSetTime(1);\n");
}

TEST_F(Script, LineCommentsHoldNoCommand)
{
  expectNoCommand("// SetAudio(\"no\");\n");
  expectNoCommand("SetFps(24); // SetAudio(\"no\");");
  expectArgument("// SetAudio(\"no\");\nSetAudio(\"yes\");\n", "yes");
  expectArgument("// an apostrophe's or a quote\" changes nothing\nSetAudio(\"yes\");\n", "yes");
  expectArgument("// nor does /* begin a block\nSetAudio(\"yes\");\n", "yes");
}

TEST_F(Script, BlockCommentsHoldNoCommand)
{
  expectNoCommand("/* SetAudio(\"no\"); */");
  expectNoCommand("/* over\nlines\nSetAudio(\"no\");\n*/ SetFps(24);\n");
  expectNoCommand("/* unterminated SetAudio(\"no\");\n");
  expectArgument("/* SetAudio(\"no\"); */ SetAudio(\"yes\");\n", "yes");
  expectArgument("/* \" */SetAudio(\"yes\");\n", "yes");
  expectArgument("/* // */ SetAudio(\"yes\");\n", "yes");
  expectArgument("/***/ SetAudio(\"yes\");\n", "yes");
  expectNoCommand("/*/ SetAudio(\"no\"); */");
}

TEST_F(Script, HashLinesHoldNoCommand)
{
  expectNoCommand("# SetAudio(\"no\");\n");
  expectArgument("#!script\n#SetAudio(\"no\");\nSetAudio(\"yes\");\n", "yes");
  expectArgument("# a quote\" changes nothing\nSetAudio(\"yes\");\n", "yes");
}

TEST_F(Script, CommentsMayStandInsideTheCommand)
{
  expectArgument("SetAudio /* the mix */ (\"abc\");", "abc");
  expectArgument("SetAudio( // wrapped\n \"abc\" /* end */ );", "abc");
  expectNull("SetAudio( /* nothing */ );");
}

TEST_F(Script, CommentSignsInsideTheArgumentAreText)
{
  expectArgument("SetAudio(\"a//b\");", "a//b");
  expectArgument("SetAudio(\"a/*b*/\");", "a/*b*/");
  expectArgument("SetAudio(\"#);\");", "#);");
}

TEST_F(Script, StringsThatHoldTheCommandsTextAreNoCommand)
{
  expectNoCommand("Print(\"SetAudio(1)\");\n");
  expectNoCommand("Print(\"SetAudio(\\\"no\\\");\");\n");
  expectArgument("Print(\"SetAudio(\\\"no\\\");\");\nSetAudio(\"yes\");\n", "yes");
  expectArgument("Print(\"a \\\\\"); SetAudio(\"yes\");\n", "yes");
  expectArgument("Print(\"// \"); SetAudio(\"yes\");\n", "yes");
  expectArgument("Print(\"/* \"); SetAudio(\"yes\");\n", "yes");
}

TEST_F(Script, LongerAndOtherIdentifiersAreNotTheCommand)
{
  for (const char* other : {"SetAudioX", "XSetAudio", "_SetAudio", "SetAudio_", "SetAudio2",
                            "2SetAudio", "SetAudi", "setaudio", "SETAUDIO", "Set Audio"}) {
    expectNoCommand(std::string(other) + "(\"no\");\n");
    expectArgument(std::string(other) + "(\"no\");\nSetAudio(\"yes\");\n", "yes");
  }
}

TEST_F(Script, EscapesAreTakenOff)
{
  expectArgument("SetAudio(\"a\\\"b\");", "a\"b");
  expectArgument("SetAudio(\"a\\\\b\");", "a\\b");
  expectArgument("SetAudio(\"\\\\\\\"\");", "\\\"");
  expectArgument("SetAudio(\"a\\nb\\tc\");", "a\nb\tc");
  expectArgument("SetAudio(\"ends with \\\\\");", "ends with \\");
}

TEST_F(Script, LineBreaksInsideTheArgumentAreNoEnd)
{
  loaded.clear();
  EXPECT_EQ(TovScript::runAudio("SetAudio(\"ab\ncd\");"), 0);
  ASSERT_EQ(loaded.size(), 1u);
  ASSERT_TRUE(loaded[0].has_value());
  EXPECT_EQ(loaded[0]->substr(0, 2), "ab");
  EXPECT_EQ(loaded[0]->substr(loaded[0]->size() - 2), "cd");
}

TEST_F(Script, LongArgumentIsWhole)
{
  const std::string argument(3000000, 'x');
  loaded.clear();
  EXPECT_EQ(TovScript::runAudio(("SetAudio(\"" + argument + "\");\n").c_str()), 0);
  ASSERT_EQ(loaded.size(), 1u);
  EXPECT_TRUE(loaded[0] == argument);
}

TEST_F(Script, ScriptWithoutTheCommandIsRefused)
{
  expectNoCommand("");
  expectNoCommand("\n \t");
  expectNoCommand("SetFps(24);\nFileIn(\"a.iff\");\n");
  expectNoCommand("SetAudio");
  expectNoCommand("SetAudio;");
  expectNoCommand("SetAudio = 3;");
}

TEST_F(Script, NullScriptIsRefused)
{
  EXPECT_NE(TovScript::runAudio(nullptr), 0);
  EXPECT_EQ(loaded.size(), 0u);
}

TEST_F(Script, UnterminatedCommandIsRefused)
{
  for (const char* script : {"SetAudio(", "SetAudio( ", "SetAudio(\"", "SetAudio(\"abc",
                             "SetAudio(\"abc\\", "SetAudio(\"abc\\\");", "SetAudio(\"abc\"",
                             "SetAudio(\"abc\" ", "SetAudio(\"abc\";\n", "SetAudio(/* ",
                             "SetAudio(\"abc\" /* )"})
    expectNoCommand(script);
}

TEST_F(Script, ScriptIsRefusedWithoutALoadHook)
{
  TovScript::setAudioCallbacks(save, nullptr, toString);
  EXPECT_NE(TovScript::runAudio("SetAudio(\"abc\");"), 0);
  EXPECT_NE(TovScript::runAudio("SetAudio();"), 0);
  TovScript::setAudioCallbacks(nullptr, nullptr, nullptr);
  EXPECT_NE(TovScript::runAudio("SetAudio(\"abc\");"), 0);
  EXPECT_EQ(loaded.size(), 0u);
}

TEST_F(Script, SaveAudioRunsTheSaveHookWithTheFileAtItsPosition)
{
  const support::TempFolder temp;
  TovFile file;
  ASSERT_EQ(file.open(temp.path("a.script").c_str(), "w"), 0);
  EXPECT_EQ(file.printf("SetFps(24);\n"), 12);
  EXPECT_EQ(TovScript::saveAudio(&file), 0);
  EXPECT_EQ(saved, std::vector<TovFile*>{&file});
  EXPECT_EQ(file.close(), 0);
  const std::vector<std::uint8_t> bytes = temp.read("a.script");
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "SetFps(24);\nSetAudio(\"saved\");\n");
}

TEST_F(Script, SaveAudioWithoutAHookIsRefusedAndWritesNothing)
{
  const support::TempFolder temp;
  TovFile file;
  ASSERT_EQ(file.open(temp.path("a.script").c_str(), "w"), 0);
  TovScript::setAudioCallbacks(nullptr, load, toString);
  EXPECT_NE(TovScript::saveAudio(&file), 0);
  EXPECT_EQ(saved.size(), 0u);
  EXPECT_EQ(file.tell(), 0);
}

TEST_F(Script, AudioToStringGivesTheHooksString)
{
  EXPECT_STREQ(TovScript::audioToString().c_str(), "SetAudio(\"as text\");\n");
}

TEST_F(Script, AudioToStringIsEmptyWithoutAHook)
{
  TovScript::setAudioCallbacks(save, load, nullptr);
  EXPECT_STREQ(TovScript::audioToString().c_str(), "");
}

TEST_F(Script, HooksAreReplaced)
{
  static int others;
  others = 0;
  TovScript::setAudioCallbacks([](TovFile*) { others += 1; }, [](const char*) { others += 10; },
                               [] { return TovString("other"); });
  TovFile file;
  EXPECT_EQ(TovScript::saveAudio(&file), 0);
  EXPECT_EQ(TovScript::runAudio("SetAudio(\"abc\");"), 0);
  EXPECT_STREQ(TovScript::audioToString().c_str(), "other");
  EXPECT_EQ(others, 11);
  EXPECT_EQ(saved.size(), 0u);
  EXPECT_EQ(loaded.size(), 0u);
}

TEST_F(Script, HookMayReplaceTheHooks)
{
  TovScript::setAudioCallbacks(
      save, [](const char* text) { TovScript::setAudioCallbacks(save, load, toString), load(text); },
      toString);
  expectArgument("SetAudio(\"once\");", "once");
  expectArgument("SetAudio(\"twice\");", "twice");
}

TEST_F(Script, CompressedSettingsSurviveAScriptThatAnEditorWrapped)
{
  const std::vector<std::uint8_t> settings = support::randomBytes(400, 31);
  const std::string text = support::compressed(settings);
  std::string wrapped = "SetFps(24);\nSetAudio(\"";
  for (std::size_t i = 0; i < text.size(); i += 72)
    wrapped += text.substr(i, 72) + "\n    ";
  wrapped += "\");\n";
  ASSERT_EQ(TovScript::runAudio(wrapped.c_str()), 0);
  ASSERT_EQ(loaded.size(), 1u);
  ASSERT_TRUE(loaded[0].has_value());
  TovBuffer out;
  EXPECT_EQ(TovCompressor::decompressString(loaded[0]->c_str(), out), 0);
  EXPECT_EQ(support::bytesOf(out), settings);
}

} // namespace

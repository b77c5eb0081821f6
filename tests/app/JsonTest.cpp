// --json: what programs read.
#include <cctype>

#include "tests/app/Help.h"

namespace {

using nlohmann::json;
using support::holds;
using support::Outcome;

class Json : public support::TovTest {
protected:
  Json()
  {
    write("a.wav", support::constantSound(2, 4800, 48000, 16, 8192));
    write("b.aiff", support::constantSound(1, 4410, 44100, 24, 1 << 21));
  }

  /** The one object in the one line that the command prints. */
  json printed(const std::vector<std::string>& arguments) const
  {
    const Outcome outcome = succeed(arguments);
    const std::vector<json> lines = support::jsonLines(outcome.out);
    EXPECT_EQ(lines.size(), 1u) << outcome.out;
    return lines.at(0);
  }

  /** Keys of all objects within a value. */
  static void collectKeys(const json& value, std::vector<std::string>& keys)
  {
    if (value.is_object()) {
      for (const auto& [key, part] : value.items())
        keys.push_back(key);
    }
    if (value.is_structured()) {
      for (const json& part : value)
        collectKeys(part, keys);
    }
  }

  void expectErrorObject(const std::vector<std::string>& arguments, int exitCode,
                         const std::string& sentence) const
  {
    const Outcome outcome = tov(arguments);
    EXPECT_EQ(outcome.exitCode, exitCode);
    EXPECT_TRUE(holds(outcome.err, sentence));
    const json wanted = {{"event", "error"}, {"error", sentence}, {"exitStatus", exitCode}};
    EXPECT_EQ(json::parse(outcome.out), wanted);
  }
};

TEST_F(Json, OfMixIsOneObject)
{
  const json object = printed({"mix", "a.wav", "--pan", "-0.3", "b.aiff", "--start", "0.05",
                               "--mute", "-o", "out.wav", "--json"});
  EXPECT_EQ(object["event"], "done");
  EXPECT_EQ(object["output"], "out.wav");
  EXPECT_EQ(object["sampleRate"], 48000);
  EXPECT_EQ(object["bits"], 24);
  EXPECT_EQ(object["frames"], 7200);
  EXPECT_EQ(object["seconds"], 0.15);
  EXPECT_EQ(object["tracks"].size(), 2u);
  EXPECT_EQ(object["tracks"][0]["file"], "a.wav");
  EXPECT_EQ(object["tracks"][0]["pan"], -0.3);
  EXPECT_EQ(object["tracks"][1]["heard"], false);
  EXPECT_FALSE(object.contains("script"));
}

TEST_F(Json, OfConvertHasTheKeysOfMix)
{
  const json convert = printed({"convert", "a.wav", "out.aiff", "--gain", "13", "--json"});
  json mix = printed({"mix", "a.wav", "-o", "out.wav", "--json"});
  EXPECT_EQ(convert["clipped"], (std::vector<int>{4800, 4800}));
  EXPECT_EQ(mix["clipped"], (std::vector<int>{0, 0}));
  EXPECT_EQ(convert["channels"], 2);
  for (const auto& [key, value] : convert.items()) {
    if (key != "channels") {
      EXPECT_TRUE(mix.contains(key)) << key;
      EXPECT_EQ(mix[key].type(), value.type()) << key;
    }
  }
}

TEST_F(Json, OfSaveNamesTheScriptAndItsTracks)
{
  const json saved = printed({"save", "shot.script", "a.wav", "b.aiff", "--json"});
  EXPECT_EQ(saved["event"], "saved");
  EXPECT_EQ(saved["script"], "shot.script");
  ASSERT_EQ(saved["tracks"].size(), 2u);
  EXPECT_EQ(saved["tracks"][1], (json{{"file", "b.aiff"}, {"found", true}}));
  EXPECT_EQ(printed({"mix", "a.wav", "--save", "x.script", "--json"})["event"], "saved");
}

TEST_F(Json, OfAMixThatIsRenderedAndSavedIsOneObjectToo)
{
  const json object =
      printed({"mix", "a.wav", "-o", "out.wav", "--save", "shot.script", "--json"});
  EXPECT_EQ(object["event"], "done");
  EXPECT_EQ(object["output"], "out.wav");
  EXPECT_EQ(object["script"], "shot.script");
}

TEST_F(Json, OfASessionThatIsConvertedIsThatOfItsMix)
{
  succeed({"save", "shot.script", "a.wav"});
  json converted = printed({"convert", "shot.script", "out.wav", "--json"});
  json mixed = printed({"mix", "shot.script", "-o", "out.wav", "--json"});
  for (json* object : {&converted, &mixed})
    object->erase("timesRealTime");
  EXPECT_EQ(converted, mixed);
}

TEST_F(Json, OfPlayEndsWithTheResult)
{
  const Outcome outcome = succeed({"play", "a.wav", "--device", "null", "--json"});
  const std::vector<json> lines = support::jsonLines(outcome.out);
  EXPECT_EQ(lines.back()["event"], "done");
  EXPECT_EQ(lines.back()["position"], 0.1);
  EXPECT_EQ(outcome.err, "");
}

TEST_F(Json, OfDemoHoldsNothingElse)
{
  const json object = printed({"demo", "sounds", "--json"});
  EXPECT_EQ(object["event"], "done");
  EXPECT_EQ(object["output"], "mix.wav");
  EXPECT_EQ(object["tracks"].size(), 8u);
  EXPECT_EQ(object["frames"], 768000);
}

TEST_F(Json, OfInfoIsAnArray)
{
  succeed({"save", "shot.script", "b.aiff"});
  const json array = json::parse(succeed({"info", "--json", "a.wav", "shot.script"}).out);
  ASSERT_EQ(array.size(), 2u);
  EXPECT_EQ(array[0]["frames"], 4800);
  EXPECT_EQ(array[1]["tracks"][0]["frames"], 4410);
}

TEST_F(Json, KeysAreWrittenInOneStyle)
{
  succeed({"save", "shot.script", "a.wav"});
  std::vector<std::string> keys;
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"info", "a.wav", "shot.script", "--json"},
        {"mix", "a.wav", "-o", "out.wav", "--save", "x.script", "--json"},
        {"convert", "a.wav", "out.wav", "--json"},
        {"save", "y.script", "a.wav", "--json"}})
    collectKeys(json::parse(succeed(arguments).out), keys);
  const std::vector<json> played =
      support::jsonLines(succeed({"play", "a.wav", "--device", "null", "--json"}).out);
  collectKeys(played, keys);
  EXPECT_GT(keys.size(), 50u);
  for (const std::string& key : keys) {
    EXPECT_TRUE(std::all_of(key.begin(), key.end(),
                            [](char c) { return std::isalpha(static_cast<unsigned char>(c)); }))
        << key;
    EXPECT_TRUE(std::islower(static_cast<unsigned char>(key.front()))) << key;
  }
}

TEST_F(Json, OfACommandThatFailsIsTheErrorAndItsStatus)
{
  expectErrorObject({"mix", "gone.wav", "-o", "out.wav", "--json"}, 1, "gone.wav: no such file");
  expectErrorObject({"convert", "--json", "gone.wav", "out.wav"}, 1, "gone.wav: no such file");
  expectErrorObject({"play", "gone.wav", "--json"}, 1, "gone.wav: no such file");
  expectErrorObject({"save", "x.script", "gone.wav", "--json"}, 1, "gone.wav: no such file");
  EXPECT_EQ(json::parse(tov({"demo", "a.wav", "--json"}).out)["exitStatus"], 1);
  EXPECT_EQ(names(), (std::vector<std::string>{"a.wav", "b.aiff"}));
}

TEST_F(Json, OfWrongUsageIsTheErrorAndItsStatus)
{
  expectErrorObject({"mix", "a.wav", "--json"}, 2, "the file to write is missing: -o FILE");
  expectErrorObject({"convert", "a.wav", "--json"}, 2,
                    "two files are needed, IN and OUT; given: 1");
  expectErrorObject({"info", "--json"}, 2, "no file was named");
  expectErrorObject({"play", "--json"}, 2, "no file to play was named");
  expectErrorObject({"save", "--json"}, 2, "the script is missing: tov save SCRIPT FILE...");
  expectErrorObject({"demo", "--json", "one", "two"}, 2, "\"two\" is more than the command takes");
  expectErrorObject({"mxi", "--json"}, 2, "there is no command \"mxi\" (did you mean mix?)");
  expectErrorObject({"mix", "a.wav", "--gian", "3", "--json"}, 2,
                    "there is no option --gian (did you mean --gain?)");
}

TEST_F(Json, IsNotPrintedUnaskedOrForAFileOfThatName)
{
  EXPECT_EQ(tov({"mix", "gone.wav", "-o", "out.wav"}).out, "");
  EXPECT_EQ(tov({"mix", "-o", "out.wav", "--", "--json"}).out, "");
}

TEST_F(Json, LeavesMessagesOnStandardErrorAndQuietLeavesBothOut)
{
  write("wide.wav", support::constantSound(4, 4800, 48000, 16, 8192));
  const Outcome told = succeed({"mix", "wide.wav", "-o", "out.wav", "--json"});
  EXPECT_TRUE(holds(told.err, "of its 4 channels"));
  EXPECT_EQ(support::jsonLines(told.out).size(), 1u);
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"mix", "wide.wav", "-o", "out.wav", "--json", "--quiet"},
        {"convert", "a.wav", "out.wav", "--json", "--quiet"},
        {"save", "x.script", "a.wav", "--json", "--quiet"},
        {"demo", "sounds", "--json", "--quiet"}}) {
    const Outcome quiet = succeed(arguments);
    EXPECT_EQ(quiet.out + quiet.err, "");
  }
}

TEST_F(Json, LinesOfProgressComeBeforeTheObject)
{
  const std::vector<json> lines = support::jsonLines(
      succeed({"mix", "a.wav", "-o", "out.wav", "--json", "--progress", "json"}).out);
  ASSERT_GE(lines.size(), 2u);
  EXPECT_EQ(lines.front()["event"], "progress");
  EXPECT_EQ(lines.back()["event"], "done");
}

TEST_F(Json, IsValidWhateverFilesAreCalled)
{
  write("\xff\"\n.wav", support::constantSound(1, 4800, 48000, 16, 8192));
  const json object = printed({"mix", "\xff\"\n.wav", "-o", "out.wav", "--json"});
  const std::string file = "\xef\xbf\xbd\"\n.wav";
  EXPECT_EQ(object["tracks"][0]["file"], file);
  // Messages leave the line feed of a session's file out.
  EXPECT_EQ(printed({"save", "shot.script", "\xff\"\n.wav", "--json"})["tracks"][0]["file"], file);
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"mix", "shot.script", "-o", "out.wav", "--json"},
        {"save", "shot.script", "--append", "a.wav", "--json"}})
    EXPECT_EQ(printed(command)["tracks"][0]["file"], file);
}

} // namespace

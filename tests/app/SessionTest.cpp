// A mix kept in a script renders as the mix itself, and the script stays.
#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <limits>
#include <random>
#include <stdexcept>

#include <sys/resource.h>

#include "core/TovBuffer.h"
#include "core/TovCompressor.h"
#include "tests/app/Tov.h"

namespace {

using support::Bytes;
using support::holds;
using support::Launch;
using support::Outcome;

/** What a track's record in the settings needs for a test. */
struct Record {
  std::string name;
  std::string tag = "AFIL";
  double start = 0.0;
  double end = 1.0;
  unsigned int playRate = 44100;
  float gain = 1.0f;
};

Bytes settings(const std::vector<Record>& records, unsigned int version = 2, float master = 1.0f)
{
  Bytes bytes;
  bytes.text("AMXR").u32be(version).f32be(master);
  bytes.u16be(static_cast<unsigned int>(records.size()));
  for (const Record& record : records) {
    bytes.u8(0).u8(0);                                       // mute, solo
    bytes.f32be(record.gain).f32be(0.0f).f32be(1.0f);        // gain, pan, width
    bytes.f64be(record.start).f64be(record.end).f64be(0.0);  // start, end, shift
    bytes.text(record.tag).u32be(0).text(record.name).u8(0); // tag, version, name
    bytes.u32be(record.playRate).f64be(0.0).f64be(1.0);      // rate, in, out
  }
  return bytes;
}

std::string command(const Bytes& bytes)
{
  TovBuffer buffer;
  buffer.allocate(bytes.size());
  std::memcpy(buffer.getData(), bytes.data().data(), bytes.size());
  if (TovCompressor::compressBuffer(buffer, static_cast<int>(bytes.size())) != 0)
    throw std::runtime_error("not compressed");
  return "SetAudio(\"" + std::string(reinterpret_cast<const char*>(buffer.getData())) + "\")";
}

class Session : public support::TovTest {
protected:
  Session()
  {
    write("a.wav", support::randomSound(2, 44100, 44100, 16, 1, 0.4));
    write("b.aiff", support::randomSound(1, 48000, 48000, 24, 2, 0.4));
    std::filesystem::create_directory(folder.path("sounds"));
    write("sounds/c.wav", support::randomSound(2, 32000, 32000, 16, 3, 0.4));
  }

  void script(const std::string& text) const { folder.write("shot.script", Bytes().text(text)); }

  std::string script() const
  {
    const std::vector<std::uint8_t> bytes = folder.read("shot.script");
    return std::string(bytes.begin(), bytes.end());
  }

  std::vector<std::uint8_t> rendered(std::vector<std::string> arguments) const
  {
    arguments.insert(arguments.begin(), {"mix", "-o", "out.wav"});
    succeed(arguments);
    return folder.read("out.wav");
  }

  nlohmann::json tracks() const
  {
    return nlohmann::json::parse(succeed({"info", "--json", "shot.script"}).out)[0]["tracks"];
  }

  /** What is refused leaves the script, and nothing else behind. */
  void expectRefusedSave(const std::vector<std::string>& arguments, int exitCode,
                         const std::string& sentence) const
  {
    const std::string before = script();
    const std::vector<std::string> namesBefore = names();
    expectError(arguments, exitCode, sentence);
    EXPECT_EQ(script(), before);
    EXPECT_EQ(names(), namesBefore);
  }
};

TEST_F(Session, RendersToTheBytesOfTheMixItKeeps)
{
  const std::vector<std::string> mixes[] = {
      {"a.wav", "--gain", "-3", "b.aiff", "--start", "2"},
      {"a.wav", "--start=-0.123456", "--end", "0.654321", "--pan=-0.3", "sounds/c.wav", "--in",
       "0.1234567", "--out", "0.87654321", "--width=-0.5", "--play-rate", "37123"},
      {"a.wav", "--mute", "b.aiff", "--solo", "a.wav", "--gain", "4.321", "--master", "-2.5"}};
  const std::vector<std::string> renders[] = {{},
                                              {"--rate", "44056", "--quality", "medium"},
                                              {"--rate", "22050", "--bits", "16", "--dither"}};
  for (const std::vector<std::string>& mix : mixes) {
    std::vector<std::string> save = {"mix", "--save", "shot.script"};
    save.insert(save.end(), mix.begin(), mix.end());
    succeed(save);
    for (const std::vector<std::string>& render : renders) {
      std::vector<std::string> direct = mix;
      direct.insert(direct.end(), render.begin(), render.end());
      std::vector<std::string> session = {"shot.script"};
      session.insert(session.end(), render.begin(), render.end());
      EXPECT_TRUE(rendered(direct) == rendered(session)) << mix[1];
    }
  }
}

TEST_F(Session, IsTheSameWhenSavedAgain)
{
  succeed({"save", "shot.script", "a.wav", "--gain", "-3.3", "sounds/c.wav", "--pan", "0.7",
           "--start", "1.2345678"});
  const std::string first = script();
  succeed({"save", "shot.script", "shot.script"});
  EXPECT_EQ(script(), first);
  succeed({"save", "shot.script", "--append"});
  EXPECT_EQ(script(), first);
}

TEST_F(Session, IsSavedBesideTheRender)
{
  succeed({"mix", "a.wav", "--start", "0.5", "--save", "shot.script", "-o", "direct.wav"});
  EXPECT_TRUE(folder.read("direct.wav") == rendered({"shot.script"}));
}

TEST_F(Session, RenderedInPiecesJoinsToTheWhole)
{
  succeed({"save", "shot.script", "a.wav", "--start", "0.1234", "b.aiff", "sounds/c.wav",
           "--play-rate", "37123", "--start", "0.5"});
  constexpr std::ptrdiff_t kHeaderBytes = 44;
  constexpr int kFrameBytes = 6;
  const std::vector<std::uint8_t> whole = rendered({"shot.script", "--rate", "48000"});
  const long long frames = static_cast<long long>(whole.size() - kHeaderBytes) / kFrameBytes;
  std::vector<long long> cuts = {0, frames};
  std::mt19937 random(11);
  for (int i = 0; i < 20; ++i)
    cuts.push_back(static_cast<long long>(random()) % frames);
  std::sort(cuts.begin(), cuts.end());
  cuts.erase(std::unique(cuts.begin(), cuts.end()), cuts.end());
  std::vector<std::uint8_t> joined(whole.begin(), whole.begin() + kHeaderBytes);
  for (std::size_t i = 0; i + 1 < cuts.size(); ++i) {
    const auto time = [](long long frame) { return std::to_string(frame / 48000.0L); };
    const std::vector<std::uint8_t> piece = rendered(
        {"shot.script", "--rate", "48000", "--from", time(cuts[i]), "--to", time(cuts[i + 1])});
    joined.insert(joined.end(), piece.begin() + kHeaderBytes, piece.end());
  }
  EXPECT_TRUE(joined == whole);
}

TEST_F(Session, StandsWhereAFileStands)
{
  succeed({"save", "shot.script", "a.wav", "--gain", "-3", "--master", "-2"});
  succeed({"save", "other.script", "b.aiff", "--pan", "0.5", "--master", "-9"});
  EXPECT_TRUE(rendered({"shot.script", "sounds/c.wav", "--start", "1", "other.script"}) ==
              rendered({"a.wav", "--gain", "-3", "sounds/c.wav", "--start", "1", "b.aiff", "--pan",
                        "0.5", "--master", "-2"}));
  EXPECT_TRUE(rendered({"shot.script", "--master", "1"}) ==
              rendered({"a.wav", "--gain", "-3", "--master", "1"}));
  succeed({"convert", "shot.script", "converted.wav", "--rate", "48000", "--bits", "16"});
  EXPECT_TRUE(folder.read("converted.wav") ==
              rendered({"shot.script", "--rate", "48000", "--bits", "16"}));
}

TEST_F(Session, IsAppendedTo)
{
  succeed({"save", "shot.script", "--append", "a.wav", "--master", "-2"});
  succeed({"save", "shot.script", "--append", "b.aiff", "--start", "1"});
  EXPECT_TRUE(rendered({"shot.script"}) ==
              rendered({"a.wav", "b.aiff", "--start", "1", "--master", "-2"}));
}

TEST_F(Session, ReplacesOnlyTheAudioCommand)
{
  const std::string old = command(settings({{"b.aiff"}}));
  std::string wrapped = old;
  wrapped.insert(30, "\r\n   ");
  const std::pair<std::string, std::string> surroundings[] = {
      {"", ""},
      {"// SetAudio(\"x\");\nRead(\"a\");\n", ";\nWrite(\"b\"); /* SetAudio(\"y\") */"},
      {"Note(\"SetAudio(\\\"z\\\")\"); ", " ; // tail\r\n\r\nnext\xff\xfe"},
      {"SetAudioX(\"q\"); mySetAudio(\"q\");\n  # SetAudio(\"r\")\n", ";\nSetAudio(\"second\");"}};
  for (const auto& [before, behind] : surroundings) {
    for (const std::string& command : {old, wrapped, std::string("SetAudio ( /* none */ )")}) {
      SCOPED_TRACE(before + command + behind);
      script(before + command + behind);
      succeed({"save", "shot.script", "a.wav"});
      const std::string now = script();
      ASSERT_GT(now.size(), before.size() + behind.size());
      EXPECT_TRUE(now.starts_with(before + "SetAudio(\"z1"));
      EXPECT_TRUE(now.ends_with("\")" + behind));
      EXPECT_EQ(tracks().size(), 1u);
      EXPECT_EQ(tracks()[0]["file"], "a.wav");
    }
  }
}

TEST_F(Session, IsAppendedToAScriptWithoutOne)
{
  for (const auto& [text, lineEnd] : {std::pair<std::string, std::string>{"Read(\"a\");\n", "\n"},
                                      {"Read(\"a\");\r\n", "\r\n"},
                                      {"", "\n"}}) {
    script(text);
    succeed({"save", "shot.script", "a.wav"});
    EXPECT_TRUE(script().starts_with(text + "SetAudio(\""));
    EXPECT_TRUE(script().ends_with("\");" + lineEnd));
  }
  script("// no line feed");
  succeed({"save", "shot.script", "a.wav"});
  EXPECT_TRUE(script().starts_with("// no line feed\nSetAudio(\""));
  EXPECT_EQ(tracks().size(), 1u);
}

TEST_F(Session, WhereNoCommandCanBeAddedIsRefused)
{
  for (const char* text : {"Note(\"open", "/* open", "SetAudio(\"z1AAAA"}) {
    script(text);
    expectRefusedSave({"save", "shot.script", "a.wav"}, 1, "ends within a string or a comment");
  }
  folder.write("shot.script", Bytes().text("Read").u8(0));
  expectRefusedSave({"save", "shot.script", "a.wav"}, 1, "shot.script: is no script");
}

TEST_F(Session, ThatIsDamagedIsNeverSavedOverUnasked)
{
  const Bytes good = settings({{"a.wav"}, {"b.aiff"}});
  Bytes shortened;
  shortened.append(std::vector<std::uint8_t>(good.data().begin(), good.data().end() - 1));
  const std::pair<std::string, std::string> damaged[] = {
      {command(shortened), "they end within track 2"},
      {command(settings({}, 3)), "of version 3"},
      {command(Bytes().text("ABCD").zeros(10)), "not those of a mix"},
      {command(settings({{"a.wav"}, {"b.aiff", "ARSM"}})), "track 2 is no audio file"},
      {"SetAudio(\"z1!!!!\")", "damaged"},
      {"SetAudio(\"\")", "damaged"}};
  for (const auto& [text, sentence] : damaged) {
    SCOPED_TRACE(sentence);
    script(text + ";\n");
    expectRefusedSave({"mix", "shot.script", "-o", "out.wav"}, 1, sentence);
    expectRefusedSave({"info", "shot.script"}, 1, sentence);
    expectRefusedSave({"convert", "shot.script", "out.wav"}, 1, sentence);
    expectRefusedSave({"save", "shot.script", "a.wav"}, 1, sentence);
    expectRefusedSave({"save", "shot.script", "--append", "a.wav"}, 1, sentence);
    expectRefusedSave({"mix", "a.wav", "--save", "shot.script", "-o", "out.wav"}, 1, sentence);
    succeed({"save", "shot.script", "--append", "a.wav", "--force"});
    EXPECT_EQ(tracks().size(), 1u);
  }
}

TEST_F(Session, WithSettingsThatCannotBeRenderedIsRefused)
{
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double infinite = std::numeric_limits<double>::infinity();
  const std::pair<Record, std::string> records[] = {
      {{.name = "a.wav", .start = nan}, "no usable time"},
      {{.name = "a.wav", .end = infinite}, "no usable time"},
      {{.name = "a.wav", .start = -1e300}, "no usable time"},
      {{.name = "a.wav", .playRate = 0}, "played at 0 Hz"},
      {{.name = "a.wav", .playRate = 0xFFFFFFFF}, "played at -1 Hz"},
      {{.name = "a.wav", .gain = std::numeric_limits<float>::quiet_NaN()}, "no number"}};
  for (const auto& [record, sentence] : records) {
    script(command(settings({record})));
    expectError({"mix", "shot.script", "-o", "out.wav"}, 1, sentence);
    EXPECT_EQ(tracks().size(), 1u);
  }
}

TEST_F(Session, TellsAllMissingFilesAtOnceAndRendersNothing)
{
  script(command(settings({{"gone.wav"}, {"a.wav"}, {"sounds/lost.aiff"}})));
  const Outcome outcome = tov({"mix", "shot.script", "-o", "out.wav"});
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_TRUE(holds(outcome.err, "2 files are missing"));
  EXPECT_TRUE(holds(outcome.err, "gone.wav: no such file (track 1 of shot.script)"));
  EXPECT_TRUE(holds(outcome.err, "sounds/lost.aiff: no such file (track 3 of shot.script)"));
  EXPECT_FALSE(std::filesystem::exists(folder.path("out.wav")));
  const nlohmann::json found = tracks();
  EXPECT_FALSE(found[0]["found"]);
  EXPECT_TRUE(found[1]["found"]);
  succeed({"mix", "shot.script", "--allow-missing", "-o", "out.wav"});
  const std::vector<std::uint8_t> rest = folder.read("out.wav");
  script(command(settings({{"a.wav"}})));
  EXPECT_TRUE(rest == rendered({"shot.script"}));
}

TEST_F(Session, KeepsTheEntriesOfMissingFiles)
{
  const Bytes first = settings({{"gone.wav", "AFIL", 0.25, 0.75, 12345, 0.5f}});
  script(command(first));
  const std::string before = script();
  succeed({"save", "shot.script", "--append"});
  EXPECT_EQ(script(), before);
  succeed({"save", "shot.script", "--append", "a.wav"});
  const nlohmann::json now = tracks();
  ASSERT_EQ(now.size(), 2u);
  EXPECT_EQ(now[0]["file"], "gone.wav");
  EXPECT_EQ(now[0]["start"], 0.25);
  EXPECT_EQ(now[0]["end"], 0.75);
  EXPECT_EQ(now[0]["playRate"], 12345);
}

TEST_F(Session, FindsItsFilesBesideTheScriptAndWhereTheyMovedTo)
{
  succeed({"save", "sounds/shot.script", "sounds/c.wav", "a.wav"});
  const std::vector<std::uint8_t> mix = rendered({"sounds/c.wav", "a.wav"});
  EXPECT_TRUE(rendered({"sounds/shot.script"}) == mix);
  std::filesystem::rename(folder.path("sounds"), folder.path("moved"));
  EXPECT_TRUE(rendered({"moved/shot.script"}) == mix);
  std::filesystem::rename(folder.path("moved/c.wav"), folder.path("moved/d.wav"));
  expectError({"mix", "moved/shot.script", "--map", "x=y", "-o", "no.aiff", "--allow-missing",
               "--from", "5", "--to", "4"},
              2, "--to is not behind --from");
  EXPECT_TRUE(rendered({"moved/shot.script", "--map", "c.wav=d.wav"}) == mix);
  EXPECT_EQ(tov({"mix", "moved/shot.script", "--map", "q=r", "-o", "no.aiff"}).exitCode, 1);
}

TEST_F(Session, PrefersTheFileBesideTheScript)
{
  write("sounds/a.wav", support::randomSound(2, 44100, 44100, 16, 9, 0.4));
  folder.write("sounds/shot.script", Bytes().text(command(settings({{"a.wav"}}))));
  const std::vector<std::uint8_t> beside = rendered({"sounds/shot.script"});
  std::filesystem::remove(folder.path("sounds/a.wav"));
  const std::vector<std::uint8_t> asItStands = rendered({"sounds/shot.script"});
  EXPECT_EQ(beside.size(), asItStands.size());
  EXPECT_FALSE(beside == asItStands);
}

TEST_F(Session, WrongUseIsTold)
{
  succeed({"save", "shot.script", "a.wav"});
  expectRefusedSave({"mix", "shot.script", "--gain", "1", "-o", "out.wav"}, 2, "is a session");
  expectRefusedSave({"mix", "a.wav", "--channels", "2,1", "--save", "shot.script"}, 2,
                    "cannot keep which channels");
  expectRefusedSave({"save", "a.wav", "b.aiff"}, 2, "is the name of a sound file");
  expectRefusedSave({"mix", "a.wav", "--append", "-o", "out.wav"}, 2, "--append is for saving");
  expectRefusedSave({"mix", "a.wav", "--map", "a=b", "-o", "out.wav"}, 2, "--map is for the files");
  expectRefusedSave({"mix", "shot.script", "--map", "ab", "-o", "out.wav"}, 2, "OLD=NEW");
  expectRefusedSave({"save", "shot.script", "gone.wav"}, 1, "gone.wav: no such file");
  succeed({"mix", "a.wav", "--channels", "1,2", "--save", "shot.script"});
}

TEST_F(Session, ThatCannotBeWrittenLeavesTheScript)
{
  script("Read(\"a\");\n" + command(settings({{"b.aiff"}})) + ";\n");
  const std::string before = script();
  Launch limited = launch({"save", "shot.script", "a.wav"});
  limited.beforeExec = [] {
    const rlimit limit = {16, 16};
    setrlimit(RLIMIT_FSIZE, &limit);
  };
  const Outcome outcome = support::run(limited);
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(script(), before);
  for (const std::string& name : names())
    EXPECT_NE(name[0], '.') << name;
}

TEST_F(Session, FromRandomTextIsNeverACrash)
{
  const std::string good = command(settings({{"a.wav"}, {"gone.wav"}}, 2, 1.0f));
  std::mt19937 random(17);
  for (int i = 0; i < 150; ++i) {
    std::string text = good;
    if (random() % 2 == 0)
      text.resize(random() % text.size());
    for (unsigned int n = random() % 4; n > 0 && !text.empty(); --n)
      text[random() % text.size()] = static_cast<char>(random() % 256);
    script(text);
    const int exitCode = tov({"info", "shot.script"}).exitCode;
    EXPECT_TRUE(exitCode == 0 || exitCode == 1) << text;
  }
}

} // namespace

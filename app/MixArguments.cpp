#include "app/MixArguments.h"

#include <map>
#include <set>

#include "app/AudioOutput.h"
#include "app/Failures.h"
#include "app/FileSuffix.h"
#include "app/NumberText.h"
#include "app/StandardOutput.h"
#include "app/TimeText.h"
#include "core/TovGlobals.h"

static constexpr const char* kTrackGroup = "Options of a track, after its file";
static constexpr const char* kMixGroup = "Options of the whole mix, anywhere";

const std::vector<OptionRow> kMixOptions = {
    {"--gain", "DB", kTrackGroup, "Level in decibels, up to +18.06 (default 0)"},
    {"--pan", "POSITION", kTrackGroup, "From -1 (left) to 1 (right), linear law (default 0)"},
    {"--width", "WIDTH", kTrackGroup,
     "Stereo width: 1 full, 0 one point, -1 sides swapped (default 1)"},
    {"--start", "TIME", kTrackGroup, "When the file starts on the timeline (default 0)"},
    {"--end", "TIME", kTrackGroup, "When it stops on the timeline (default: when it runs out)"},
    {"--in", "TIME", kTrackGroup, "From where in the file (default 0)"},
    {"--out", "TIME", kTrackGroup, "To where in the file (default: its end)"},
    {"--play-rate", "HZ", kTrackGroup,
     "Samples of the file to play per second, 200 to 192000: half the file's rate is half the "
     "speed, an octave down (default: the file's)"},
    {"--channels", "L,R", kTrackGroup, "The two channels to take, counted from 1 (default 1,2)"},
    {"--mute", nullptr, kTrackGroup, "Leave the track out; the mix keeps its length"},
    {"--solo", nullptr, kTrackGroup, "Leave out all tracks without --solo"},
    {"-o,--output", "FILE", kMixGroup,
     "The file to write; its suffix says WAV or AIFF; - is standard output"},
    {"--format", "FORMAT", kMixGroup, "wav or aiff (default: by the suffix)"},
    {"--rate", "HZ", kMixGroup, "Sample rate, 200 to 768000 (default: the highest of the files')"},
    {"--bits", "BITS", kMixGroup, "8, 16, 24 or 32 (default 24)"},
    {"--quality", "QUALITY", kMixGroup,
     "Of rate conversion: proxy, medium, high or highest (default highest)"},
    {"--master", "DB", kMixGroup,
     "Level of the whole mix, up to +18.06 (default: the session's, else 0)"},
    {"--from", "TIME", kMixGroup, "Where on the timeline to begin (default 0)"},
    {"--to", "TIME", kMixGroup, "Where to end (default: the end of the last track)"},
    {"--save", "SCRIPT", kMixGroup, "Keep the mix in this script, as a session"},
    {"--append", nullptr, kMixGroup,
     "Put the session that the script holds first, so that the files are added to it"},
    {"--map", "OLD=NEW", kMixGroup,
     "Files of sessions whose names begin with OLD have moved: begin with NEW; may be repeated, "
     "the first that fits counts"},
    {"--allow-missing", nullptr, kMixGroup, "Go on without the files that a session misses"},
    {"--fps", "RATE", kMixGroup,
     "Frames of the picture per second, for times in frames and timecode; 30000/1001 too "
     "(default 24)"},
    {"--dither", nullptr, kMixGroup,
     "Round with triangular noise instead of cutting off; 8 to 24 bits"},
    {"--progress", "STYLE", kMixGroup,
     "auto (text on a terminal), text, json (lines on standard output) or none"},
    {"--json", nullptr, kMixGroup, "Print the result as a JSON object"},
    {"--quiet", nullptr, kMixGroup, "Say nothing but errors"},
    {"--force", nullptr, kMixGroup,
     "Go on where a 32-bit WAV holds implausible samples, and save over settings that cannot be "
     "loaded"},
};

/** An option's name and text, and what times in it go by. */
struct OptionText {
  std::string name;
  std::string text;
  double framesPerSecond;

  WrittenTime time() const { return timeOfText(name, text, framesPerSecond); }
  WrittenTime timeInFile() const;
  float number(double lowest, double highest) const
  {
    return static_cast<float>(numberInRange(name, text, lowest, highest));
  }
};

WrittenTime OptionText::timeInFile() const
{
  const WrittenTime value = time();
  if (value.number < 0.0) {
    throw UsageError(name + ": " + text + " lies before the beginning of the file");
  }
  return value;
}

static WrittenTime sourceOut(const OptionText& option)
{
  if (formatBySuffix(option.text) != nullptr) {
    throw UsageError("--out is where the used part of a file ends; the file to write is named "
                     "with -o or --output");
  }
  return option.timeInFile();
}

static std::pair<int, int> channelPair(const OptionText& option)
{
  const std::size_t comma = option.text.find(',');
  if (comma != std::string::npos) {
    const std::optional<long long> left = wholeNumberOf(option.text.substr(0, comma));
    const std::optional<long long> right = wholeNumberOf(option.text.substr(comma + 1));
    constexpr long long kMostChannels = 65535;
    if (left && right && *left >= 1 && *right >= 1 && *left <= kMostChannels &&
        *right <= kMostChannels) {
      return {static_cast<int>(*left), static_cast<int>(*right)};
    }
  }
  throw UsageError(option.name + ": \"" + option.text +
                   "\" is no pair of channels; write two numbers from 1, as in 3,4");
}

static int playRate(const OptionText& option)
{
  constexpr double kLowest = 200.0;
  constexpr double kHighest = 192000.0;
  if (!wholeNumberOf(option.text)) {
    throw UsageError(option.name + ": \"" + option.text + "\" is no whole number");
  }
  return static_cast<int>(numberInRange(option.name, option.text, kLowest, kHighest));
}

static std::string scriptName(const OptionText& option)
{
  if (isStandardOutput(option.text)) {
    throw UsageError("a mix is kept in a script; standard output is none");
  }
  if (option.text.empty()) {
    throw UsageError("the name of the script is empty");
  }
  if (formatBySuffix(option.text) != nullptr) {
    throw UsageError("\"" + option.text +
                     "\" is the name of a sound file; a script's name ends "
                     "in another suffix or in none");
  }
  return option.text;
}

using TrackSetter = void (*)(TrackRequest& track, const OptionText& option);
using MixSetter = void (*)(MixRequest& mix, const OptionText& option);

static const std::map<std::string, TrackSetter> kTrackSetters = {
    {"--gain",
     [](TrackRequest& t, const OptionText& o) { t.gain = decibelsOfText(o.name, o.text); }},
    {"--pan", [](TrackRequest& t, const OptionText& o) { t.pan = o.number(-1.0, 1.0); }},
    {"--width", [](TrackRequest& t, const OptionText& o) { t.width = o.number(-1.0, 1.0); }},
    {"--start", [](TrackRequest& t, const OptionText& o) { t.start = o.time(); }},
    {"--end", [](TrackRequest& t, const OptionText& o) { t.end = o.time(); }},
    {"--in", [](TrackRequest& t, const OptionText& o) { t.in = o.timeInFile(); }},
    {"--out", [](TrackRequest& t, const OptionText& o) { t.out = sourceOut(o); }},
    {"--play-rate", [](TrackRequest& t, const OptionText& o) { t.playRate = playRate(o); }},
    {"--channels", [](TrackRequest& t, const OptionText& o) { t.channels = channelPair(o); }},
    {"--mute", [](TrackRequest& t, const OptionText&) { t.mute = true; }},
    {"--solo", [](TrackRequest& t, const OptionText&) { t.solo = true; }},
};

static const std::map<std::string, MixSetter> kMixSetters = {
    {"--output", [](MixRequest& m, const OptionText& o) { m.output = o.text; }},
    {"--format",
     [](MixRequest& m, const OptionText& o) { m.formatName = formatOfText(o.name, o.text); }},
    {"--rate",
     [](MixRequest& m, const OptionText& o) { m.rate = sampleRateOfText(o.name, o.text); }},
    {"--bits", [](MixRequest& m, const OptionText& o) { m.bits = bitsOfText(o.name, o.text); }},
    {"--quality",
     [](MixRequest& m, const OptionText& o) { m.quality = qualityOfText(o.name, o.text); }},
    {"--master",
     [](MixRequest& m, const OptionText& o) { m.master = decibelsOfText(o.name, o.text); }},
    {"--from", [](MixRequest& m, const OptionText& o) { m.from = o.time(); }},
    {"--to", [](MixRequest& m, const OptionText& o) { m.to = o.time(); }},
    {"--save", [](MixRequest& m, const OptionText& o) { m.script = scriptName(o); }},
    {"--append", [](MixRequest& m, const OptionText&) { m.isAppended = true; }},
    {"--map", [](MixRequest& m,
                 const OptionText& o) { m.mappings.push_back(nameMappingOfText(o.name, o.text)); }},
    {"--allow-missing", [](MixRequest& m, const OptionText&) { m.isMissingAllowed = true; }},
    {"--fps", [](MixRequest& m, const OptionText& o) { m.framesPerSecond = o.framesPerSecond; }},
    {"--dither", [](MixRequest& m, const OptionText&) { m.isDithered = true; }},
    {"--progress",
     [](MixRequest& m, const OptionText& o) { m.progress = progressStyleOfText(o.name, o.text); }},
    {"--json", [](MixRequest& m, const OptionText&) { m.isJson = true; }},
    {"--quiet", [](MixRequest& m, const OptionText&) { m.isQuiet = true; }},
    {"--force", [](MixRequest& m, const OptionText&) { m.isForced = true; }},
};

double hostFramesPerSecond()
{
  const TovName name = TovName::getString("script.framesPerSecond");
  return static_cast<double>(TovGlobals::ref(name, kTovIdFloat, 0)->asFloat());
}

/** Found first, since times may stand before it. */
static double framesPerSecondOf(const std::vector<Argument>& arguments)
{
  double rate = hostFramesPerSecond();
  for (const Argument& argument : arguments) {
    if (argument.option == "--fps") {
      rate = framesPerSecondOfText(argument.option, argument.value);
    }
  }
  return rate;
}

static void checkTrack(const TrackRequest& track)
{
  if (track.end && track.end->isSurelyNotBehind(track.start)) {
    throw UsageError("--end of " + track.file + " is not behind its --start");
  }
  if (track.out && track.out->isSurelyNotBehind(track.in)) {
    throw UsageError("--out of " + track.file + " is not behind its --in");
  }
}

/** A session holds no choice of channels. */
static void checkKeepable(const TrackRequest& track)
{
  if (track.channels && *track.channels != std::pair(1, 2)) {
    throw UsageError("--channels of " + track.file +
                     ": a session cannot keep which channels are taken; it always takes the first "
                     "two");
  }
}

static void checkSaving(const MixRequest& mix)
{
  if (mix.script.empty()) {
    if (mix.isAppended) {
      throw UsageError("--append is for saving: --save SCRIPT");
    }
    return;
  }
  for (const TrackRequest& track : mix.tracks) {
    checkKeepable(track);
  }
}

static void checkTimes(const MixRequest& mix)
{
  for (const TrackRequest& track : mix.tracks) {
    checkTrack(track);
  }
  if (mix.from && mix.to && mix.to->isSurelyNotBehind(*mix.from)) {
    throw UsageError("--to is not behind --from");
  }
}

static void checkMix(const MixRequest& mix)
{
  if (mix.tracks.empty() && !mix.isAppended) {
    throw UsageError("no file to mix was named");
  }
  if (mix.output.empty() && mix.script.empty()) {
    throw UsageError("the file to write is missing: -o FILE");
  }
  if (!mix.output.empty()) {
    checkOutput("--output", mix.output, mix.formatName);
  } else if (!mix.formatName.empty()) {
    throw UsageError("--format is for a file to write: -o FILE");
  }
  refuseJsonBesideSound(mix.output, mix.isJson || mix.progress == ProgressStyle::json);
  checkSaving(mix);
  checkTimes(mix);
  if (mix.isDithered) {
    checkDitherBits(mix.bits);
  }
}

static MixRequest readRequest(const std::vector<Argument>& arguments)
{
  const double framesPerSecond = framesPerSecondOf(arguments);
  MixRequest mix;
  for (const Argument& argument : arguments) {
    const OptionText option = {argument.option, argument.value, framesPerSecond};
    if (argument.isFile()) {
      checkInputName(argument.value);
      mix.tracks.emplace_back();
      mix.tracks.back().file = argument.value;
    } else if (const auto whole = kMixSetters.find(argument.option); whole != kMixSetters.end()) {
      whole->second(mix, option);
    } else if (mix.tracks.empty()) {
      throw UsageError(argument.option +
                       " stands before any file; the options of a track follow its file");
    } else {
      kTrackSetters.at(argument.option)(mix.tracks.back(), option);
      mix.tracks.back().hasOptions = true;
    }
  }
  return mix;
}

MixRequest mixRequestOf(const std::vector<Argument>& arguments)
{
  const MixRequest mix = readRequest(arguments);
  checkMix(mix);
  return mix;
}

/** The options of a track and these of the whole mix. */
static std::vector<OptionRow> trackOptionsAnd(const std::set<std::string>& names)
{
  std::vector<OptionRow> rows;
  for (const OptionRow& row : kMixOptions) {
    if (row.group == kTrackGroup || names.count(row.names) > 0) {
      rows.push_back(row);
    }
  }
  return rows;
}

std::vector<OptionRow> heardOptions()
{
  return trackOptionsAnd(
      {"--master", "--from", "--to", "--map", "--allow-missing", "--fps", "--quiet", "--force"});
}

MixRequest heardRequestOf(const std::vector<Argument>& arguments)
{
  const MixRequest mix = readRequest(arguments);
  if (mix.tracks.empty()) {
    throw UsageError("no file to play was named");
  }
  checkTimes(mix);
  return mix;
}

std::vector<OptionRow> saveOptions()
{
  return trackOptionsAnd(
      {"--master", "--append", "--map", "--fps", "--json", "--quiet", "--force"});
}

MixRequest saveRequestOf(std::vector<Argument> arguments)
{
  for (Argument& argument : arguments) {
    if (argument.isFile()) {
      argument.option = "--save";
      return mixRequestOf(arguments);
    }
  }
  throw UsageError("the script is missing: tov save SCRIPT FILE...");
}

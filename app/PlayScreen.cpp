#include "app/PlayScreen.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "app/LevelMeter.h"
#include "app/NumberText.h"
#include "app/TimeText.h"

/** A part of the line.  Fields of a high rank are left out first. */
struct Field {
  int rank;
  std::string text;
};

static std::string padded(const std::string& text, std::size_t width)
{
  return text.size() < width ? text + std::string(width - text.size(), ' ') : text;
}

/** "1,3" */
static std::string numbers(const std::vector<int>& tracks)
{
  std::string list;
  for (const int track : tracks) {
    list += list.empty() ? "" : ",";
    list += std::to_string(track);
  }
  return list;
}

static std::string levelText(double decibels)
{
  char text[32];
  (void)std::snprintf(text, sizeof text, "%5.1f", decibels);
  return text;
}

static std::string volumeText(float volume)
{
  if (!(volume > 0.0f)) {
    return "volume off";
  }
  char text[48];
  (void)std::snprintf(text, sizeof text, "volume %.1f dB",
                      decibelsOfFullScale(static_cast<double>(volume)) + 0.0);
  return text;
}

/** "[=====   |  ]": the level and the held peak, from -60 dBFS to 0. */
static std::string bar(const ChannelReading& channel, int cells)
{
  constexpr double kLowest = -60.0;
  const auto cellOf = [cells](double decibels) {
    const double part = std::clamp(1.0 - decibels / kLowest, 0.0, 1.0);
    return static_cast<int>(std::ceil(part * cells));
  };
  const int filled = cellOf(channel.level);
  const int peak = cellOf(channel.peak);
  std::string text(static_cast<std::size_t>(cells), ' ');
  std::fill_n(text.begin(), filled, '=');
  if (peak > 0) {
    text[static_cast<std::size_t>(peak - 1)] = '|';
  }
  return "[" + text + "]";
}

static std::string clipsText(const PlayStatus& status)
{
  return "clips " + std::to_string(status.channels[0].clips) + "/" +
         std::to_string(status.channels[1].clips);
}

static void addTracks(std::vector<Field>& fields, const PlayStatus& status)
{
  if (status.selectedTrack > 0) {
    fields.push_back({8, "track " + std::to_string(status.selectedTrack) + "/" +
                             std::to_string(status.trackCount)});
  }
  if (!status.muted.empty()) {
    fields.push_back({6, "muted " + numbers(status.muted)});
  }
  if (!status.soloed.empty()) {
    fields.push_back({6, "solo " + numbers(status.soloed)});
  }
}

/** "L [====  |   ] -12.3  R [====  |   ] -12.1"; no bars where @p cells is 0. */
static std::string levelsText(const PlayStatus& status, int cells)
{
  const char* const names[] = {"L ", "  R "};
  std::string text;
  for (std::size_t c = 0; c < status.channels.size(); ++c) {
    const ChannelReading& channel = status.channels[c];
    text += names[c] + (cells > 0 ? bar(channel, cells) + " " : "") + levelText(channel.peak);
  }
  return text;
}

/** Without cells they are for narrow lines: no bars and no padding. */
static std::vector<Field> fieldsOf(const PlayStatus& status, int cells)
{
  std::vector<Field> fields = {{1, cells > 0 ? padded(status.state, 11) : status.state},
                               {0, timeForPeople(status.position)},
                               {5, status.timecode},
                               {4, std::string("-").append(timeForPeople(status.remaining))}};
  fields.push_back({2, levelsText(status, cells)});
  fields.push_back({3, clipsText(status)});
  fields.push_back({9, volumeText(status.volume)});
  if (status.loop) {
    fields.push_back(
        {7, "loop " + timeForPeople(status.loop->from) + " to " + timeForPeople(status.loop->to)});
  }
  if (status.filter > 0) {
    fields.push_back({8, "low-pass " + std::to_string(status.filter) + " Hz"});
  }
  addTracks(fields, status);
  if (!status.hint.empty()) {
    fields.insert(fields.begin() + 2, {1, "(" + status.hint + ")"});
  }
  return fields;
}

static std::string joined(const std::vector<Field>& fields)
{
  std::string line;
  for (const Field& field : fields) {
    line += (line.empty() ? "" : "  ") + field.text;
  }
  return line;
}

/** The line of the fields that fit. */
static std::string fitted(std::vector<Field> fields, std::size_t width)
{
  const auto byRank = [](const Field& a, const Field& b) { return a.rank < b.rank; };
  while (fields.size() > 1 && joined(fields).size() > width) {
    fields.erase(std::max_element(fields.begin(), fields.end(), byRank));
  }
  return joined(fields).substr(0, width);
}

static bool holdsLevels(const std::string& line)
{
  return line.find("  L ") != std::string::npos && line.find("  R ") != std::string::npos;
}

std::string statusLine(const PlayStatus& status, int width)
{
  constexpr int kFewCells = 8;
  constexpr int kMostCells = 30;
  const std::size_t columns = static_cast<std::size_t>(std::max(width, 0));
  int cells = kFewCells;
  while (cells < kMostCells && joined(fieldsOf(status, cells + 1)).size() <= columns) {
    ++cells;
  }
  std::string line = fitted(fieldsOf(status, cells), columns);
  // A narrow line has no room for long bars, or for bars, but for the levels.
  for (cells = kFewCells / 2; cells >= 0 && !holdsLevels(line); cells -= kFewCells / 2) {
    line = fitted(fieldsOf(status, cells), columns);
  }
  return line;
}

std::string statusText(const PlayStatus& status)
{
  return joined(fieldsOf(status, 0));
}

static double hundredths(double value)
{
  return std::round(value * 100.0) / 100.0;
}

std::string statusJson(const PlayStatus& status, const std::string& event)
{
  const auto& [left, right] = status.channels;
  nlohmann::ordered_json line = {{"event", event},
                                 {"state", status.state},
                                 {"position", status.position},
                                 {"timecode", status.timecode},
                                 {"remaining", status.remaining},
                                 {"levelDbfs", {hundredths(left.level), hundredths(right.level)}},
                                 {"peakDbfs", {hundredths(left.peak), hundredths(right.peak)}},
                                 {"clips", {left.clips, right.clips}},
                                 {"volume", status.volume},
                                 {"filter", status.filter},
                                 {"loop", nullptr},
                                 {"muted", status.muted},
                                 {"solo", status.soloed}};
  if (status.loop) {
    line["loop"] = {status.loop->from, status.loop->to};
  }
  return line.dump();
}

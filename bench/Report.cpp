#include "bench/Report.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <stdexcept>

#include <nlohmann/json.hpp>

namespace {

/** The sets of kernels that have to meet the goal, and do or do not. */
std::vector<std::string> setsThatMeet(const Comparison& row, bool isWanted)
{
  std::vector<std::string> sets;
  for (std::size_t i = 0; i < row.ours.size(); ++i)
    if ((row.ours[i].first != "plain" || row.ours.size() == 1) &&
        (row.ratio(i) >= row.atLeast.value_or(0.0)) == isWanted)
      sets.push_back(row.ours[i].first);
  return sets;
}

} // namespace

bool Comparison::isMet() const
{
  return setsThatMeet(*this, false).empty();
}

std::string Comparison::metText() const
{
  if (!atLeast)
    return "";
  if (isMet())
    return "yes";
  std::string text = "NO";
  for (const std::string& set : setsThatMeet(*this, true))
    text += (text == "NO" ? ", only " : " and ") + set;
  return text;
}

std::string fixedText(double value, int decimals)
{
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  return text;
}

std::string timeText(double seconds, double items)
{
  if (items > 1.0)
    return fixedText(1e9 * seconds / items, 2) + " ns";
  return fixedText(1e3 * seconds, 1) + " ms";
}

// --- On the screen --------------------------------------------------------

namespace {

void printRows(const Cells& rows)
{
  std::vector<std::size_t> widths;
  for (const std::vector<std::string>& row : rows)
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths.resize(std::max(widths.size(), i + 1));
      widths[i] = std::max(widths[i], row[i].size());
    }
  for (const std::vector<std::string>& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i)
      std::printf("%-*s  ", static_cast<int>(widths[i]), row[i].c_str());
    std::printf("\n");
  }
}

} // namespace

void print(const Section& section)
{
  std::printf("\n== %s\n", section.title.c_str());
  printRows(tableOf(section.comparisons));
  printRows(tableOf(section.limits));
  Cells rows = section.table.rows;
  rows.insert(rows.begin(), section.table.heads);
  printRows(rows);
  std::fflush(stdout);
}

// --- As tables ------------------------------------------------------------

Cells tableOf(const std::vector<Comparison>& comparisons)
{
  Cells rows;
  if (comparisons.empty())
    return rows;
  const bool hasSnr = std::any_of(comparisons.begin(), comparisons.end(),
                                  [](const Comparison& c) { return c.snrLow.has_value(); });
  std::vector<std::string> heads = {"work", "peer", "peer's time"};
  for (const auto& [kernels, seconds] : comparisons.front().ours)
    heads.push_back(kernels);
  for (const auto& [kernels, seconds] : comparisons.front().ours)
    heads.push_back(kernels + " x");
  heads.insert(heads.end(), {"at least", "met"});
  if (hasSnr)
    heads.insert(heads.end(), {"SNR 997 Hz, ours / theirs", "SNR 15 kHz, ours / theirs"});
  heads.push_back("");
  rows.push_back(heads);

  const auto snrText = [](const std::optional<SnrPair>& snr) {
    return snr ? fixedText(snr->ours, 1) + " / " + fixedText(snr->theirs, 1) : std::string();
  };
  for (const Comparison& c : comparisons) {
    std::vector<std::string> row = {c.work, c.peer, timeText(c.theirs, c.items)};
    for (const auto& [kernels, seconds] : c.ours)
      row.push_back(timeText(seconds, c.items));
    for (std::size_t i = 0; i < c.ours.size(); ++i)
      row.push_back(fixedText(c.ratio(i), 2));
    row.push_back(c.atLeast ? fixedText(*c.atLeast, 1) : "");
    row.push_back(c.metText());
    if (hasSnr) {
      row.push_back(snrText(c.snrLow));
      row.push_back(snrText(c.snrHigh));
    }
    row.push_back(c.remark);
    rows.push_back(row);
  }
  return rows;
}

Cells tableOf(const std::vector<Limit>& limits)
{
  Cells rows;
  if (limits.empty())
    return rows;
  rows.push_back({"work", "measured", "below", "met", ""});
  for (const Limit& limit : limits)
    rows.push_back({limit.work, fixedText(limit.value, 2) + " " + limit.unit,
                    limit.below ? fixedText(*limit.below, 1) + " " + limit.unit : "",
                    limit.below ? (limit.isMet() ? "yes" : "NO") : "", limit.remark});
  return rows;
}

// --- As JSON --------------------------------------------------------------

namespace {

nlohmann::ordered_json jsonOf(const Comparison& c)
{
  nlohmann::ordered_json json = {
      {"work", c.work}, {"peer", c.peer}, {"items", c.items}, {"peerSeconds", c.theirs}};
  for (std::size_t i = 0; i < c.ours.size(); ++i) {
    json["seconds"][c.ours[i].first] = c.ours[i].second;
    json["ratio"][c.ours[i].first] = c.ratio(i);
  }
  if (c.atLeast) {
    json["atLeast"] = *c.atLeast;
    json["met"] = c.isMet();
  }
  if (c.snrLow)
    json["snr997"] = {{"ours", c.snrLow->ours}, {"theirs", c.snrLow->theirs}};
  if (c.snrHigh)
    json["snr15000"] = {{"ours", c.snrHigh->ours}, {"theirs", c.snrHigh->theirs}};
  if (!c.remark.empty())
    json["remark"] = c.remark;
  return json;
}

nlohmann::ordered_json jsonOf(const Diagram& diagram)
{
  nlohmann::ordered_json json = {
      {"title", diagram.title}, {"x", diagram.xLabel}, {"y", diagram.yLabel}};
  for (const Curve& curve : diagram.curves)
    json["curves"].push_back({{"name", curve.name}, {"x", curve.x}, {"y", curve.y}});
  return json;
}

nlohmann::ordered_json jsonOf(const Limit& limit)
{
  nlohmann::ordered_json json = {
      {"work", limit.work}, {"value", limit.value}, {"unit", limit.unit}};
  if (limit.below) {
    json["below"] = *limit.below;
    json["met"] = limit.isMet();
  }
  if (!limit.remark.empty())
    json["remark"] = limit.remark;
  return json;
}

} // namespace

void writeJson(const Report& report, const std::string& path)
{
  nlohmann::ordered_json json;
  for (const auto& [name, value] : report.machine)
    json["machine"][name] = value;
  json["sections"] = nlohmann::ordered_json::array();
  for (const Section& section : report.sections) {
    nlohmann::ordered_json part = {{"title", section.title}};
    for (const Comparison& comparison : section.comparisons)
      part["comparisons"].push_back(jsonOf(comparison));
    for (const Limit& limit : section.limits)
      part["limits"].push_back(jsonOf(limit));
    if (!section.table.rows.empty())
      part["table"] = {{"heads", section.table.heads}, {"rows", section.table.rows}};
    for (const Diagram& diagram : section.curves)
      part["diagrams"].push_back(jsonOf(diagram));
    json["sections"].push_back(part);
  }
  std::ofstream file(path);
  file << json.dump(2) << '\n';
  if (!file.flush())
    throw std::runtime_error(path + " cannot be written");
}

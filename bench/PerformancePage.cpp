#include "bench/PerformancePage.h"

#include <fstream>
#include <map>
#include <stdexcept>

namespace {

std::map<std::string, std::string> reasonsIn(const std::string& path)
{
  std::map<std::string, std::string> reasons;
  std::ifstream file(path);
  std::string line;
  while (std::getline(file, line)) {
    const std::size_t colon = line.find(": ");
    if (colon != std::string::npos && line[0] != '#')
      reasons[line.substr(0, colon)] = line.substr(colon + 2);
  }
  return reasons;
}

std::string escaped(const std::string& cell)
{
  std::string text;
  for (const char c : cell)
    text += c == '|' ? std::string("\\|") : std::string(1, c);
  return text;
}

void writeTable(std::ostream& page, const Cells& rows)
{
  if (rows.empty())
    return;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    page << '|';
    for (const std::string& cell : rows[i])
      page << ' ' << escaped(cell) << " |";
    page << '\n';
    if (i > 0)
      continue;
    page << '|';
    for (std::size_t k = 0; k < rows[0].size(); ++k)
      page << "---|";
    page << '\n';
  }
  page << '\n';
}

/** What the reasons know a row by. */
std::string keyOf(const Comparison& row)
{
  return row.work + " / " + row.peer;
}

std::string ratiosOf(const Comparison& row)
{
  std::string text;
  for (std::size_t i = 0; i < row.ours.size(); ++i)
    if (row.ours[i].first != "plain")
      text +=
          (text.empty() ? "" : ", ") + fixedText(row.ratio(i), 2) + " (" + row.ours[i].first + ")";
  return text;
}

/** The rows that have a goal, all sections together. */
Cells goalsOf(const Report& report, const std::map<std::string, std::string>& reasons)
{
  Cells rows = {{"", "work", "against", "measured", "goal", "met", "why not"}};
  const auto reason = [&reasons](const std::string& key, const std::string& general) {
    for (const std::string& known : {key, general})
      if (const auto found = reasons.find(known); found != reasons.end())
        return found->second;
    return std::string("not known yet");
  };
  for (const Section& section : report.sections) {
    for (const Comparison& row : section.comparisons)
      if (row.atLeast)
        rows.push_back({section.title, row.work, row.peer, ratiosOf(row),
                        "at least " + fixedText(*row.atLeast, 1), row.metText(),
                        row.isMet() ? "" : reason(keyOf(row), section.title + " / " + row.peer)});
    for (const Limit& row : section.limits)
      if (row.below)
        rows.push_back({section.title, row.work, "", fixedText(row.value, 2) + " " + row.unit,
                        "below " + fixedText(*row.below, 0), row.isMet() ? "yes" : "NO",
                        row.isMet() ? "" : reason(row.work, section.title)});
  }
  return rows;
}

void writeSection(std::ostream& page, const Section& section)
{
  page << "## " << section.title << "\n\n" << section.method << "\n\n";
  writeTable(page, tableOf(section.comparisons));
  writeTable(page, tableOf(section.limits));
  if (!section.table.rows.empty()) {
    Cells rows = section.table.rows;
    rows.insert(rows.begin(), section.table.heads);
    writeTable(page, rows);
  }
  for (std::size_t i = 0; i < section.pictures.size(); ++i)
    page << "![" << section.curves[i].title << "](pictures/" << section.pictures[i] << ")\n\n";
}

} // namespace

void writePage(const Report& report, const std::string& path, const std::string& reasonsPath)
{
  const std::map<std::string, std::string> reasons = reasonsIn(reasonsPath);
  std::ofstream page(path);
  page << "# Performance\n\n"
          "Written by `bench/run --write-docs`; what a row says about its reason comes from\n"
          "[bench/reasons.txt](../bench/reasons.txt).  [The profile](profile.md) tells where the\n"
          "time of a mix goes.\n\n"
          "## Machine\n\n";
  Cells machine = {{"", ""}};
  for (const auto& [name, value] : report.machine)
    machine.push_back({name, value});
  writeTable(page, machine);
  page << "## Method\n\n"
          "Ours and all peers run in one go and take turns, repetition by repetition; a time is\n"
          "the median of the processor time (user and system) of the repetitions, a factor says\n"
          "how many times as fast as the peer ours is: above 1 ours is faster.  Each set of\n"
          "kernels is the library in a process of its own; all give the same bits.  `plain` is\n"
          "the definition that runs on every processor; goals are for the others.  Resampling\n"
          "rows tell both sides' signal-to-noise ratio, since filters of unequal length do not\n"
          "compare by time alone, and beside a peer's usual settings stands the one of its\n"
          "settings that is nearest to ours in SNR and pass band.\n\n"
          "## Goals\n\n";
  writeTable(page, goalsOf(report, reasons));
  for (const Section& section : report.sections)
    writeSection(page, section);
  if (!page.flush())
    throw std::runtime_error(path + " cannot be written");
}

#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bench/Picture.h"

/** Seconds by set of kernels. */
typedef std::vector<std::pair<std::string, double>> OurTimes;

/** The quality of what two sides of a comparison deliver, in decibels. */
struct SnrPair {
  double ours;
  double theirs;
};

/** Ours against one peer, the same work. */
struct Comparison {
  std::string work;
  std::string peer;
  OurTimes ours;
  double theirs = 0.0;           ///< seconds
  double items = 1.0;            ///< what the seconds are for: samples, or 1 for the whole
  std::optional<double> atLeast; ///< how many times as fast we want to be
  std::optional<SnrPair> snrLow;
  std::optional<SnrPair> snrHigh;
  std::string remark = {};

  double ratio(std::size_t set) const { return theirs / ours[set].second; }
  bool isMet() const; ///< with every set of kernels but the plain one
  std::string metText() const;
};

/** One figure of ours with a bound. */
struct Limit {
  std::string work;
  double value;
  std::string unit;
  std::optional<double> below;
  std::string remark = {};

  bool isMet() const { return !below || value < *below; }
};

/** A table of anything else. */
struct PlainTable {
  std::vector<std::string> heads;
  std::vector<std::vector<std::string>> rows;
};

/** What one bench tells. */
struct Section {
  std::string title;
  std::string method; ///< what was compared and how, in sentences
  std::vector<Comparison> comparisons = {};
  std::vector<Limit> limits = {};
  PlainTable table = {};
  std::vector<std::string> pictures = {}; ///< names of files, one for each diagram
  std::vector<Diagram> curves = {};
};

/** Everything one run tells. */
struct Report {
  std::vector<std::pair<std::string, std::string>> machine; ///< what it ran on
  std::vector<Section> sections;
};

/** What a time is called in tables: nanoseconds of an item, or milliseconds of
 *  the whole. */
std::string timeText(double seconds, double items);

std::string fixedText(double value, int decimals);

/** Rows of cells, the heads first; none where there is nothing. */
typedef std::vector<std::vector<std::string>> Cells;
Cells tableOf(const std::vector<Comparison>& comparisons);
Cells tableOf(const std::vector<Limit>& limits);

/** The tables on the standard output. */
void print(const Section& section);

/** All figures, as JSON. */
void writeJson(const Report& report, const std::string& path);

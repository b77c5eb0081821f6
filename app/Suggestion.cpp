#include "app/Suggestion.h"

#include <algorithm>

std::size_t editDistance(const std::string& a, const std::string& b)
{
  std::vector<std::vector<std::size_t>> cost(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) {
    for (std::size_t j = 0; j <= b.size(); ++j) {
      if (i == 0 || j == 0) {
        cost[i][j] = i + j;
        continue;
      }
      const std::size_t replaced = cost[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      cost[i][j] = std::min({replaced, cost[i - 1][j] + 1, cost[i][j - 1] + 1});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        cost[i][j] = std::min(cost[i][j], cost[i - 2][j - 2] + 1);
      }
    }
  }
  return cost[a.size()][b.size()];
}

static std::string withoutDashes(const std::string& text)
{
  return text.substr(std::min(text.find_first_not_of('-'), text.size()));
}

static bool isPrefix(const std::string& start, const std::string& text)
{
  return !start.empty() && text.compare(0, start.size(), start) == 0;
}

std::string nearestOf(const std::string& written, const std::vector<std::string>& candidates)
{
  const std::string word = withoutDashes(written);
  std::string nearest;
  std::size_t nearestDistance = std::max<std::size_t>(2, word.size() / 2) + 1;
  for (const std::string& candidate : candidates) {
    const std::string name = withoutDashes(candidate);
    const std::size_t distance = isPrefix(word, name) ? 1 : editDistance(word, name);
    // Two edits turn any word of two letters into any other.
    const bool sharesNothing = distance >= std::max(word.size(), name.size());
    // A slip of two keys is likelier than half a word.
    const bool isLikelier = distance == nearestDistance && isPrefix(word, withoutDashes(nearest));
    if ((distance < nearestDistance || isLikelier) && !sharesNothing) {
      nearest = candidate;
      nearestDistance = distance;
    }
  }
  return nearest;
}

std::string suggestion(const std::string& written, const std::vector<std::string>& candidates)
{
  const std::string nearest = nearestOf(written, candidates);
  return nearest.empty() ? std::string() : " (did you mean " + nearest + "?)";
}

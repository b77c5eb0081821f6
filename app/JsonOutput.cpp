#include "app/JsonOutput.h"

#include <algorithm>
#include <string>

#include "app/Failures.h"
#include "app/PrintedText.h"

static constexpr auto kReplaceWrongBytes = nlohmann::ordered_json::error_handler_t::replace;

void printJsonLine(const nlohmann::ordered_json& object)
{
  printText(object.dump(-1, ' ', false, kReplaceWrongBytes) + "\n");
}

namespace {

/** Prints a value over several lines, as dump() gives it, piece by piece: that
 *  of a session with all its tracks takes hundreds of megabytes. */
class IndentedJson {
public:
  void add(const nlohmann::ordered_json& value, std::size_t depth);

  /** Prints what is left. */
  void finish()
  {
    printText(pending + "\n");
    pending.clear();
  }

private:
  static constexpr std::size_t kIndent = 2;

  void addWhole(const nlohmann::ordered_json& value, std::size_t depth);
  void beginLine(std::size_t depth);

  std::string pending;
};

bool holdsStructures(const nlohmann::ordered_json& value)
{
  return value.is_structured() &&
         std::any_of(value.begin(), value.end(),
                     [](const nlohmann::ordered_json& item) { return item.is_structured(); });
}

void IndentedJson::beginLine(std::size_t depth)
{
  constexpr std::size_t kMostPending = 1 << 16;
  if (pending.size() > kMostPending) {
    printText(pending);
    pending.clear();
  }
  pending += '\n';
  pending.append(depth * kIndent, ' ');
}

/** Line ends within strings are escaped: those that stand there are between
 *  values. */
void IndentedJson::addWhole(const nlohmann::ordered_json& value, std::size_t depth)
{
  const std::string text = value.dump(kIndent, ' ', false, kReplaceWrongBytes);
  std::size_t begin = 0;
  for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', begin)) {
    pending.append(text, begin, end - begin);
    beginLine(depth);
    begin = end + 1;
  }
  pending.append(text, begin);
}

void IndentedJson::add(const nlohmann::ordered_json& value, std::size_t depth)
{
  if (!holdsStructures(value)) {
    addWhole(value, depth);
    return;
  }
  const bool isObject = value.is_object();
  pending += isObject ? '{' : '[';
  for (auto item = value.begin(); item != value.end(); ++item) {
    pending += item == value.begin() ? "" : ",";
    beginLine(depth + 1);
    if (isObject) {
      pending += nlohmann::ordered_json(item.key()).dump() + ": ";
    }
    add(*item, depth + 1);
  }
  beginLine(depth);
  pending += isObject ? '}' : ']';
}

} // namespace

void printJson(const nlohmann::ordered_json& value)
{
  IndentedJson output;
  output.add(value, 0);
  output.finish();
}

void printJsonError(const std::string& sentence, int exitStatus)
{
  try {
    printJsonLine({{"event", "error"}, {"error", sentence}, {"exitStatus", exitStatus}});
  } catch (const Failure&) {
    // Standard error has the sentence already.
  }
}

#include "app/JsonOutput.h"

#include "app/Failures.h"
#include "app/PrintedText.h"

static constexpr auto kReplaceWrongBytes = nlohmann::ordered_json::error_handler_t::replace;

void printJsonLine(const nlohmann::ordered_json& object)
{
  printText(object.dump(-1, ' ', false, kReplaceWrongBytes) + "\n");
}

void printJson(const nlohmann::ordered_json& value)
{
  printText(value.dump(2, ' ', false, kReplaceWrongBytes) + "\n");
}

void printJsonError(const std::string& sentence, int exitStatus)
{
  try {
    printJsonLine({{"event", "error"}, {"error", sentence}, {"exitStatus", exitStatus}});
  } catch (const Failure&) {
    // Standard error has the sentence already.
  }
}

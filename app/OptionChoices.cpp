#include "app/OptionChoices.h"

#include <regex>

#include "app/FileSuffix.h"

/** Without what stands in parentheses and behind a semicolon, and without what
 *  leads to the list and ends in a colon. */
static std::string listIn(const std::string& description)
{
  static const std::regex inParentheses(" ?\\([^)]*\\)");
  std::string text = std::regex_replace(description, inParentheses, "");
  text = text.substr(0, text.find(';'));
  const std::size_t colon = text.find(": ");
  return colon == std::string::npos ? text : text.substr(colon + 2);
}

std::vector<std::string> wordsListedIn(const std::string& description)
{
  static const std::regex wholeList("([a-z0-9]+, )*[a-z0-9]+ or [a-z0-9]+");
  static const std::regex separator(", | or ");
  const std::string list = listIn(description);
  if (!std::regex_match(list, wholeList)) {
    return {};
  }
  return {std::sregex_token_iterator(list.begin(), list.end(), separator, -1), {}};
}

std::vector<std::string> choicesOf(const CLI::Option& option)
{
  // Any whole number will do; these are what people use.
  if (option.get_type_name() == "HZ") {
    return {"44100", "48000", "88200", "96000", "176400", "192000"};
  }
  return wordsListedIn(option.get_description());
}

FileChoice fileChoiceOf(const CLI::Option& option)
{
  const bool isArgument = !option.nonpositional();
  const std::string kind = isArgument ? option.get_name(true) : option.get_type_name();
  if (kind == "FILE" || kind == "IN" || kind == "OUT") {
    return isArgument ? FileChoice::soundFile : FileChoice::anyFile;
  }
  if (kind == "SCRIPT" || kind == "OLD=NEW") {
    return FileChoice::anyFile;
  }
  return kind == "FOLDER" ? FileChoice::folder : FileChoice::none;
}

std::string soundSuffixes(const std::string& separator)
{
  static const std::regex between(", \\.");
  return std::regex_replace(knownSuffixes().substr(1), between, separator);
}

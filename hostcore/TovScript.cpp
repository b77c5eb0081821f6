#include "core/TovScript.h"

#include <cstring>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace {

struct AudioHooks {
  void (*save)(TovFile*) = nullptr;
  void (*load)(const char*) = nullptr;
  TovString (*toString)() = nullptr;
};

std::mutex hooksMutex;
constinit AudioHooks audioHooks; ///< Protected by hooksMutex

AudioHooks currentHooks()
{
  const std::lock_guard<std::mutex> guard(hooksMutex);
  return audioHooks;
}

/** Reads a script's text just well enough to tell commands from strings and
 *  comments. */
class ScriptScanner {
public:
  explicit ScriptScanner(std::string_view script) : text(script) {}

  bool atEnd() const { return position >= text.size(); }

  void skipBlanksAndComments()
  {
    while (!atEnd()) {
      if (text.substr(position, 2) == "//" || (text[position] == '#' && isFirstOfLine()))
        skipBehind("\n");
      else if (text.substr(position, 2) == "/*")
        position += 2, skipBehind("*/");
      else if (std::strchr(" \t\r\n\f\v", text[position]) != nullptr && text[position] != '\0')
        ++position;
      else
        return;
    }
  }

  bool take(char expected)
  {
    skipBlanksAndComments();
    if (atEnd() || text[position] != expected)
      return false;
    ++position;
    return true;
  }

  /** The contents of the string that begins here; none where no string
   *  begins or it does not end. */
  std::optional<std::string> takeString()
  {
    if (!take('"'))
      return std::nullopt;
    std::string contents;
    while (!atEnd()) {
      const char c = text[position++];
      if (c == '"')
        return contents;
      if (c == '\\' && !atEnd())
        contents += unescaped(text[position++]);
      else
        contents += c;
    }
    return std::nullopt;
  }

  /** The identifier or number that begins here; empty where none does. */
  std::string_view takeWord()
  {
    const std::size_t begin = position;
    while (!atEnd() && isWordPart(text[position]))
      ++position;
    return text.substr(begin, position - begin);
  }

  void skipCharacter() { ++position; }

private:
  bool isFirstOfLine() const
  {
    std::size_t i = position;
    while (i > 0 && (text[i - 1] == ' ' || text[i - 1] == '\t'))
      --i;
    return i == 0 || text[i - 1] == '\n';
  }

  void skipBehind(std::string_view mark)
  {
    const std::size_t found = text.find(mark, position);
    position = found == std::string_view::npos ? text.size() : found + mark.size();
  }

  static char unescaped(char c)
  {
    switch (c) {
    case 'n':
      return '\n';
    case 't':
      return '\t';
    default:
      return c;
    }
  }

  static bool isWordPart(char c)
  {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
  }

  const std::string_view text;
  std::size_t position = 0;
};

struct AudioCommand {
  std::optional<std::string> argument; ///< none for an empty argument list
};

std::optional<AudioCommand> findAudioCommand(std::string_view script)
{
  ScriptScanner scanner(script);
  for (;;) {
    scanner.skipBlanksAndComments();
    if (scanner.atEnd())
      return std::nullopt;
    const std::string_view word = scanner.takeWord();
    if (word == TovScript::_audioLoadCmd) {
      if (scanner.take('(')) {
        AudioCommand command{scanner.takeString()};
        if (scanner.take(')'))
          return command;
      }
    } else if (word.empty() && !scanner.takeString()) {
      if (scanner.atEnd())
        return std::nullopt;
      scanner.skipCharacter();
    }
  }
}

} // namespace

const char* const TovScript::_audioLoadCmd = "SetAudio";

void TovScript::setAudioCallbacks(void (*save)(TovFile*), void (*load)(const char*),
                                  TovString (*toString)())
{
  const std::lock_guard<std::mutex> guard(hooksMutex);
  audioHooks = {save, load, toString};
}

int TovScript::saveAudio(TovFile* file)
{
  const AudioHooks hooks = currentHooks();
  if (!hooks.save || !file)
    return 1;
  hooks.save(file);
  return 0;
}

int TovScript::runAudio(const char* scriptText)
{
  const AudioHooks hooks = currentHooks();
  if (!hooks.load || !scriptText)
    return 1;
  const std::optional<AudioCommand> command = findAudioCommand(scriptText);
  if (!command)
    return 1;
  hooks.load(command->argument ? command->argument->c_str() : nullptr);
  return 0;
}

TovString TovScript::audioToString()
{
  const AudioHooks hooks = currentHooks();
  return hooks.toString ? hooks.toString() : TovString("");
}

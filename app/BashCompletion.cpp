#include "app/Completion.h"

#include "app/OptionChoices.h"
#include "app/OptionText.h"

static const char* const kBegin =
    R"(# bash completion for tov; printed by "tov completion bash".

_tov_words() # words, what stands there
{
  mapfile -t COMPREPLY < <(compgen -W "$1" -- "$2")
}

_tov_files()
{
  mapfile -t COMPREPLY < <(compgen -f -- "$1")
  compopt -o filenames 2>/dev/null
}

_tov_folders()
{
  mapfile -t COMPREPLY < <(compgen -d -- "$1")
  compopt -o filenames 2>/dev/null
}

# Sound files and folders; where there are none, any file: a session may have
# any other suffix.
_tov_sounds()
{
  local name
  while IFS= read -r name; do
    case ${name,,} in
)";

static const char* const kBehindSuffixes =
    R"(      *) [[ -d $name ]] && COMPREPLY+=("$name") ;;
    esac
  done < <(compgen -f -- "$1")
  compopt -o filenames 2>/dev/null
  ((${#COMPREPLY[@]})) || _tov_files "$1"
}

_tov()
{
  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]} command= i
  COMPREPLY=()
  # --rate=48000 is three words to the shell.
  if [[ $cur == "=" ]]; then
    cur=
  elif [[ $prev == "=" ]]; then
    prev=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  for ((i = 1; i < COMP_CWORD; ++i)); do
    if [[ ${COMP_WORDS[i]} != -* ]]; then
      command=${COMP_WORDS[i]}
      break
    fi
  done
  case $command in
)";

static const char* const kEnd = R"(  esac
}

complete -F _tov tov
)";

static std::string joined(const std::vector<std::string>& words, const std::string& separator)
{
  std::string text;
  for (const std::string& word : words) {
    text += (text.empty() ? "" : separator) + word;
  }
  return text;
}

/** What completes a value or an argument; nothing where any text will do. */
static std::string completerOf(const CLI::Option& option)
{
  const std::vector<std::string> choices = choicesOf(option);
  if (!choices.empty()) {
    return std::string("_tov_words \"").append(joined(choices, " ")) + "\" \"$cur\"";
  }
  switch (fileChoiceOf(option)) {
  case FileChoice::anyFile:
    return "_tov_files \"$cur\"";
  case FileChoice::soundFile:
    return "_tov_sounds \"$cur\"";
  case FileChoice::folder:
    return "_tov_folders \"$cur\"";
  case FileChoice::none:
    break;
  }
  return "";
}

/** One branch for the values of each option, and for its arguments. */
static std::string branchOf(const CLI::App& command)
{
  std::string names;
  std::string values;
  for (const OptionGroup& group : optionGroupsOf(command)) {
    for (const CLI::Option* option : group.options) {
      names += joined(namesOf(*option), " ") + " ";
      if (takesValue(*option)) {
        const std::string completer = completerOf(*option);
        values += std::string(8, ' ') + joined(namesOf(*option), "|") + ") " + completer +
                  (completer.empty() ? "" : "; ") + "return ;;\n";
      }
    }
  }
  names.pop_back(); // there is always --help
  const std::vector<const CLI::Option*> files = filesOf(command);
  const std::string completer = files.empty() ? "" : completerOf(*files.back());
  return "    " + command.get_name() + ")\n      case $prev in\n" + values +
         "        *) ;;\n      esac\n      if [[ $cur == -* ]]; then\n        _tov_words \"" +
         names + "\" \"$cur\"\n      else\n        " + (completer.empty() ? ":" : completer) +
         "\n      fi\n      ;;\n";
}

static std::string branchOfProgram(const CLI::App& program)
{
  std::string words;
  for (const CLI::App* command : commandsOf(program)) {
    words += command->get_name() + " ";
  }
  const std::vector<OptionGroup> groups = optionGroupsOf(program);
  for (const CLI::Option* option : groups.front().options) {
    words += joined(namesOf(*option), " ") + " ";
  }
  words.pop_back();
  return "    \"\") _tov_words \"" + words + "\" \"$cur\" ;;\n";
}

std::string bashCompletionOf(const CLI::App& program)
{
  std::string text = kBegin;
  text += "      *." + soundSuffixes("|*.") + ") COMPREPLY+=(\"$name\") ;;\n";
  text += kBehindSuffixes;
  text += branchOfProgram(program);
  for (const CLI::App* command : commandsOf(program)) {
    text += branchOf(*command);
  }
  return text + kEnd;
}

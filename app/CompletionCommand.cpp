#include "app/Commands.h"

#include "app/CommandLine.h"
#include "app/Completion.h"
#include "app/Failures.h"
#include "app/PrintedText.h"
#include "app/Suggestion.h"

static const char* const kCompletionNotes =
    "Examples:\n"
    "  source <(tov completion bash)\n"
    "  tov completion zsh > ~/.zsh/completions/_tov\n"
    "\n"
    "With the first of these in ~/.bashrc, or with a folder like that of the second in zsh's\n"
    "fpath, Tab completes commands, options, values and sound files.  An installed tov brings\n"
    "both scripts with it, where the shells look for them.\n";

CLI::App* declareCompletion(CLI::App& program)
{
  CLI::App* command =
      program.add_subcommand("completion", "Print the script that completes tov in a shell");
  declareArguments(*command, {}, {{"SHELL", "bash or zsh", false}});
  command->footer(kCompletionNotes);
  return command;
}

int runCompletion(const CLI::App& command)
{
  const std::vector<Argument> arguments = argumentsInOrder(command);
  const std::string shell = arguments.empty() ? "" : arguments.front().value;
  if (shell.empty()) {
    throw UsageError("the shell is missing: bash or zsh");
  }
  if (shell != "bash" && shell != "zsh") {
    throw UsageError("there is no script for \"" + shell + "\"; write bash or zsh" +
                     suggestion(shell, {"bash", "zsh"}));
  }
  const CLI::App& program = *command.get_parent();
  printText(shell == "bash" ? bashCompletionOf(program) : zshCompletionOf(program));
  return 0;
}

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "app/CommandLine.h"
#include "app/Commands.h"
#include "app/Failures.h"
#include "app/ForeignSounds.h"
#include "app/HelpText.h"
#include "app/Interruption.h"
#include "app/JsonOutput.h"
#include "app/LibraryMessages.h"
#include "app/OptionText.h"
#include "app/PrintedText.h"
#include "app/ProgramNotes.h"
#include "app/StandardOutput.h"
#include "app/Suggestion.h"

static constexpr int kFailed = 1;
static constexpr int kWrongUsage = 2;
static constexpr int kInterrupted = 130;

/** A command and how to run it. */
struct Command {
  const CLI::App* parser;
  int (*run)(const CLI::App& command);
};

/** How a command failed. */
struct Ending {
  int exitStatus;
  std::string sentence;
};

static void declareProgram(CLI::App& program)
{
  program.allow_extras();
  program.require_subcommand(0, 1);
  program.set_help_flag("-h,--help", "Print this help");
  program.set_version_flag("--version", "tov " TOV_VERSION, "Print the version");
  program.formatter_fn(
      [](const CLI::App* app, const std::string&, CLI::AppFormatMode) { return helpOf(*app); });
  program.footer(kProgramNotes);
}

static std::vector<std::string> commandNamesOf(const CLI::App& program)
{
  std::vector<std::string> names;
  for (const CLI::App* command : commandsOf(program)) {
    names.push_back(command->get_name());
  }
  return names;
}

/** "info, convert or mix" */
static std::string listed(const std::vector<std::string>& names)
{
  std::string list;
  for (std::size_t i = 0; i < names.size(); ++i) {
    list += (i == 0 ? "" : i + 1 < names.size() ? ", " : " or ") + names[i];
  }
  return list;
}

/** Without a command, or with one that there is not. */
[[noreturn]] static void rejectMissingCommand(const CLI::App& program)
{
  const std::vector<std::string> leftOver = program.remaining();
  const std::vector<std::string> commands = commandNamesOf(program);
  if (leftOver.empty()) {
    throw UsageError("a command is missing: " + listed(commands));
  }
  const std::string& word = leftOver.front();
  if (word.rfind('-', 0) == 0) {
    throw UsageError("there is no option " + word + suggestion(word, optionNamesOf(program)));
  }
  if (word == "help") {
    throw UsageError("help is an option, of the program and of each command: tov mix --help");
  }
  throw UsageError("there is no command \"" + word + "\"" + suggestion(word, commands));
}

static int runParsed(const CLI::App& program, const std::vector<Command>& commands)
{
  for (const Command& command : commands) {
    if (command.parser->parsed()) {
      if (!program.remaining().empty()) {
        rejectMissingCommand(program);
      }
      return command.run(*command.parser);
    }
  }
  rejectMissingCommand(program);
}

static Ending wrongUsage(const CLI::App& program, const std::string& sentence)
{
  const std::vector<CLI::App*> chosen = program.get_subcommands();
  const std::string help = chosen.empty() ? "tov" : "tov " + chosen.front()->get_name();
  (void)std::fprintf(stderr, "%s: %s\n\"%s --help\" tells the usage.\n", help.c_str(),
                     sentence.c_str(), help.c_str());
  return {kWrongUsage, sentence};
}

static Ending failed(const std::string& sentence)
{
  (void)std::fprintf(stderr, "%s\n", sentence.c_str());
  return {kFailed, sentence};
}

/** Runs the command that the arguments name; the status is in the ending. */
static Ending run(int argc, char** argv)
{
  CLI::App program("Mixes, plays, converts and examines sound files.", "tov");
  declareProgram(program);
  const std::vector<Command> commands = {
      {declareInfo(program), runInfo},    {declareConvert(program), runConvert},
      {declareMix(program), runMix},      {declarePlay(program), runPlay},
      {declarePlot(program), runPlot},    {declareSave(program), runSave},
      {declareDemo(program), runDemo},    {declareCompletion(program), runCompletion},
      {declareManual(program), runManual}};
  try {
    program.parse(argc, argv);
    return {runParsed(program, commands), ""};
  } catch (const CLI::Success& helpOrVersion) {
    return {program.exit(helpOrVersion), ""};
  } catch (const CLI::ParseError& error) {
    return wrongUsage(program, error.what());
  } catch (const UsageError& error) {
    return wrongUsage(program, error.what());
  } catch (const Interrupted&) {
    (void)std::fprintf(stderr, "tov: interrupted\n");
    return {kInterrupted, ""};
  } catch (const std::bad_alloc&) {
    return failed("tov: out of memory");
  } catch (const std::exception& failure) {
    return failed(failure.what());
  }
}

/** Looked for before parsing, which may be what fails. */
static bool isJsonAskedFor(int argc, char** argv)
{
  const auto end = std::find(argv, argv + argc, std::string("--"));
  return std::find(argv, end, std::string("--json")) != end;
}

int main(int argc, char** argv)
{
  occupyClosedStreams();
  holdBackLibraryMessages();
  rememberInterruptions();
  try {
    addForeignSounds();
    Ending ending = run(argc, argv);
    if (ending.exitStatus == 0 && !isAllPrinted()) {
      ending = failed("standard output: could not be written");
    }
    if (!ending.sentence.empty() && isJsonAskedFor(argc, argv)) {
      printJsonError(ending.sentence, ending.exitStatus);
    }
    return ending.exitStatus;
  } catch (const std::bad_alloc&) {
    // It does not even suffice for the sentence about it.
    (void)std::fputs("tov: out of memory\n", stderr);
  } catch (const std::exception& failure) {
    (void)std::fprintf(stderr, "tov: %s\n", failure.what());
  }
  return kFailed;
}

#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "app/CommandLine.h"
#include "app/Commands.h"
#include "app/Failures.h"
#include "app/Interruption.h"
#include "app/LibraryMessages.h"
#include "app/Suggestion.h"

static constexpr int kFailed = 1;
static constexpr int kWrongUsage = 2;
static constexpr int kInterrupted = 130;

/** A command and how to run it. */
struct Command {
  const CLI::App* parser;
  int (*run)(const CLI::App& command);
};

static const char* const kProgramNotes =
    "Examples:\n"
    "  tov demo\n"
    "  tov info voice.wav\n"
    "  tov convert voice.wav voice.aiff --bits 24\n"
    "  tov mix drums.wav --gain -3 bass.aiff --pan -0.4 --start 1.5 voice.wav --solo \\\n"
    "          -o mix.wav --rate 48000 --bits 24 --quality highest\n"
    "  tov play drums.wav --gain -3 bass.aiff --loop\n"
    "  tov save shot.script drums.wav --gain -3 bass.aiff --start 1.5\n"
    "  tov mix shot.script -o mix.wav\n"
    "\n"
    "Every track of a mix fades in and out over 20 ms.  \"tov mix --help\" tells all of it.\n"
    "A session is a mix that a script of the host holds; it stands wherever a file does.\n"
    "Files are WAV (integer PCM) and AIFF (uncompressed), of 1 to 32 bits.";

static void declareProgram(CLI::App& program)
{
  program.allow_extras();
  program.require_subcommand(0, 1);
  program.set_help_flag("-h,--help", "Print this help");
  program.set_version_flag("--version", "tov " TOV_VERSION, "Print the version");
  program.footer(kProgramNotes);
}

/** Without a command, or with one that there is not. */
[[noreturn]] static void rejectMissingCommand(const CLI::App& program)
{
  const std::vector<std::string> leftOver = program.remaining();
  if (leftOver.empty()) {
    throw UsageError("a command is missing: info, convert, mix, play, save or demo");
  }
  const std::string& word = leftOver.front();
  if (word.rfind('-', 0) == 0) {
    throw UsageError("there is no option " + word + suggestion(word, optionNamesOf(program)));
  }
  throw UsageError("there is no command \"" + word + "\"" +
                   suggestion(word, {"info", "convert", "mix", "play", "save", "demo"}));
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

static int reportWrongUsage(const CLI::App& program, const std::string& sentence)
{
  const std::vector<CLI::App*> chosen = program.get_subcommands();
  const std::string help = chosen.empty() ? "tov" : "tov " + chosen.front()->get_name();
  std::fprintf(stderr, "%s: %s\n\"%s --help\" tells the usage.\n", help.c_str(), sentence.c_str(),
               help.c_str());
  return kWrongUsage;
}

static int run(int argc, char** argv)
{
  CLI::App program("Mixes, plays, converts and examines WAV and AIFF files.", "tov");
  declareProgram(program);
  const std::vector<Command> commands = {
      {declareInfo(program), runInfo}, {declareConvert(program), runConvert},
      {declareMix(program), runMix},   {declarePlay(program), runPlay},
      {declareSave(program), runSave}, {declareDemo(program), runDemo}};
  try {
    program.parse(argc, argv);
    return runParsed(program, commands);
  } catch (const CLI::Success& helpOrVersion) {
    return program.exit(helpOrVersion);
  } catch (const CLI::ParseError& error) {
    return reportWrongUsage(program, error.what());
  } catch (const UsageError& error) {
    return reportWrongUsage(program, error.what());
  }
}

int main(int argc, char** argv)
{
  holdBackLibraryMessages();
  rememberInterruptions();
  try {
    return run(argc, argv);
  } catch (const Interrupted&) {
    std::fprintf(stderr, "tov: interrupted\n");
    return kInterrupted;
  } catch (const std::bad_alloc&) {
    std::fprintf(stderr, "tov: out of memory\n");
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
  }
  return kFailed;
}

#include "app/Commands.h"

#include "app/CommandLine.h"
#include "app/ManualPage.h"
#include "app/PrintedText.h"

static const char* const kManualNotes = "Examples:\n"
                                        "  tov manual | man -l -\n"
                                        "\n"
                                        "The page holds what all the --help texts say.  An "
                                        "installed tov brings it with it: man tov.\n";

CLI::App* declareManual(CLI::App& program)
{
  CLI::App* command = program.add_subcommand("manual", "Print the manual page");
  declareArguments(*command, {}, {});
  command->footer(kManualNotes);
  return command;
}

int runManual(const CLI::App& command)
{
  argumentsInOrder(command);
  printText(manualPageOf(*command.get_parent()));
  return 0;
}

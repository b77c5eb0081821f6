#include "app/Commands.h"
#include "app/Failures.h"

// Takes the place of PlotCommand.cpp where the program is built without what it
// draws with.

CLI::App* declarePlot(CLI::App& program)
{
  CLI::App* command =
      program.add_subcommand("plot", "Draw files and mixes (not in this build of tov)");
  command->allow_extras();
  return command;
}

int runPlot(const CLI::App&)
{
  throw Failure("plot", "this tov was built without cairo and kissfft, which it draws with");
}

#include "app/Commands.h"
#include "app/MixArguments.h"
#include "app/MixContents.h"
#include "app/MixSummary.h"
#include "app/SessionSave.h"

static const char* const kSaveNotes =
    "Examples:\n"
    "  tov save shot.script drums.wav --gain -3 bass.aiff --start 1.5\n"
    "  tov save shot.script --append voice.wav --start 4\n"
    "  tov save shot.script --append --map /old/sounds/=/new/sounds/\n"
    "\n"
    "Keeps a mix as one line of the host application's script language, SetAudio(\"...\");, in\n"
    "SCRIPT, which need not exist.  A line that is there already is replaced, every other byte of\n"
    "the script stays.  \"tov mix SCRIPT -o mix.wav\" renders it, to the same samples as the same\n"
    "mix with the same options; rate, bits, quality, --from and --to belong to the render.\n"
    "\n"
    "A file in the script's folder or below is kept by its name relative to that folder, any\n"
    "other by its whole path.  Entries whose files are missing are kept as they are.\n";

CLI::App* declareSave(CLI::App& program)
{
  CLI::App* command = program.add_subcommand("save", "Keep a mix in a script, as a session");
  declareArguments(*command, saveOptions(),
                   {{"SCRIPT", "The script to keep it in", false},
                    {"FILE", "Files of the mix, each followed by its options", true}});
  command->footer(kSaveNotes);
  return command;
}

int runSave(const CLI::App& command)
{
  const MixRequest request = saveRequestOf(argumentsInOrder(command));
  const Notices notices(request.isQuiet);
  const MixContents contents = gatherMix(request, notices);
  saveSession(contents, request);
  sayWhatIsMissing(contents, request, notices);
  MixReport report(request);
  report.tellOfSession(contents);
  report.finish();
  return 0;
}

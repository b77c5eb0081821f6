#include "app/Commands.h"
#include "app/MixArguments.h"
#include "app/MixContents.h"
#include "app/SessionSave.h"

static const char* const kSaveNotes =
    "Keeps a mix as one line of the host's script language, SetAudio(\"...\");, in SCRIPT, which\n"
    "need not exist.  A line that is there already is replaced, every other byte of the script\n"
    "stays.  \"tov mix SCRIPT -o mix.wav\" renders it, to the same samples as the same mix with\n"
    "the same options; rate, bits, quality, --from and --to belong to the render.\n"
    "\n"
    "A file in the script's folder or below is kept by its name relative to that folder, any\n"
    "other by its whole path.  Entries whose files are missing are kept as they are.\n"
    "\n"
    "Examples:\n"
    "  tov save shot.script drums.wav --gain -3 bass.aiff --start 1.5\n"
    "  tov save shot.script --append voice.wav --start 4\n"
    "  tov save shot.script --append --map /old/sounds/=/new/sounds/";

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
  sayWhatWasSaved(contents, request, notices);
  return 0;
}

#include "app/Commands.h"
#include "app/MixArguments.h"
#include "app/MixContents.h"
#include "app/MixRender.h"
#include "app/MixSummary.h"
#include "app/Notices.h"
#include "app/SessionSave.h"

static const char* const kMixNotes =
    "Examples:\n"
    "  tov mix drums.wav --gain -3 bass.aiff --start 1.5 voice.wav -o mix.wav\n"
    "  tov mix a.wav --in 10 --out 20 b.wav --start 5.5 -o mix.aiff --rate 48000\n"
    "  tov mix scene.wav --start 01:00:10:12 --from 01:00:00:00 --fps 25 -o reel.wav\n"
    "  tov mix drums.wav bass.aiff --start 2 --save shot.script\n"
    "  tov mix shot.script voice.wav --start 4 -o mix.wav\n"
    "  tov mix shot.script -o - | sox -t wav - shot.flac\n"
    "\n"
    "--start, --end, --from and --to may be negative.  Times are taken to the nearest sample; a\n"
    "file of another rate than the mix may lie up to one of its own samples beside that.\n"
    "\n"
    "Every track fades in over 20 ms at its start and out over 20 ms before its end.  An --end\n"
    "behind the end of the file, and an --out too, mean the end of the file.\n"
    "The pan law is linear: a track's two channels move towards the side and add up there, so\n"
    "that one panned hard has both at full level on one side (a file of one channel is then\n"
    "6 dB louder there than in the centre), and one of width 0 has both at half level.\n"
    "A file of one channel feeds both sides.\n"
    "\n"
    "A FILE may also be a session: a script that holds a mix, kept there by --save or by the\n"
    "host application.  Its tracks stand where it is named, with their own settings; the master\n"
    "level is that of the first session unless --master says another.  Its files are looked for\n"
    "beside the script first, then as they stand.\n"
    "\n"
    "--save keeps the whole mix: a file in the script's folder or below by its name relative to\n"
    "that folder, any other by its whole path.  A saved mix renders to the same samples as this\n"
    "one with the same options; rate, bits, quality, --from and --to are not kept, nor can be\n"
    "--channels.  Times are kept as given and come onto the output's samples when rendered, so\n"
    "that this holds at every rate.\n"
    "\n"
    "Samples above full scale are clipped and reported.  32-bit WAV is floating point with full\n"
    "scale at 32768 under an integer's tag, which other programs hear as noise: for 32 bits\n"
    "write AIFF.  WAV files of 25 to 32 bits are read in the same way.\n"
    "\n"
    "The output appears complete or not at all: an old file of its name stays until then.\n";

CLI::App* declareMix(CLI::App& program)
{
  CLI::App* command = program.add_subcommand("mix", "Mix any number of files into one stereo file");
  declareArguments(*command, kMixOptions,
                   {{"FILE", "Files to mix, each followed by its options", true}});
  command->footer(kMixNotes);
  return command;
}

int runMix(const CLI::App& command)
{
  const MixRequest request = mixRequestOf(argumentsInOrder(command));
  const Notices notices(request.isQuiet);
  const MixContents contents = gatherMix(request, notices);
  if (!request.script.empty()) {
    checkSession(contents, request);
  }
  MixReport report(request);
  if (!request.output.empty()) {
    report.tellOfMix(renderMix(contents, request, notices));
  }
  if (!request.script.empty()) {
    // Composed anew: the script may have been edited during the render.
    saveSession(contents, request);
    sayWhatIsMissing(contents, request, notices);
    report.tellOfSession(contents);
  }
  report.finish();
  return 0;
}

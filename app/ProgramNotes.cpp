#include "app/ProgramNotes.h"

#include "app/OptionText.h"

const char* const kProgramNotes =
    "Examples:\n"
    "  tov demo\n"
    "  tov info voice.wav\n"
    "  tov convert voice.wav voice.aiff --bits 24\n"
    "  tov mix drums.wav --gain -3 bass.aiff --start 1.5 voice.wav -o mix.wav\n"
    "  tov play drums.wav --gain -3 bass.aiff --loop\n"
    "  tov save shot.script drums.wav --gain -3 bass.aiff --start 1.5\n"
    "  tov mix shot.script -o mix.wav\n"
    "\n"
    "\"tov mix --help\" tells all about mixing, and so on for each command.  Every track of a mix\n"
    "fades in and out over 20 ms.  A session is a mix that is kept in a script of the host\n"
    "application; it stands wherever a sound file does.  WAV and AIFF files are written.\n";

const char* const kTimeNotes =
    "Times:\n"
    "  1.5  -0.25     seconds\n"
    "  2:03.5         minutes and seconds (MM:SS.mmm)\n"
    "  1:02:03.5      hours, minutes and seconds (HH:MM:SS.mmm)\n"
    "  01:02:03:12    timecode (HH:MM:SS:FF), never drop-frame\n"
    "  120f           frames of the picture\n"
    "  22050smp       samples of one channel\n"
    "\n"
    "Every option that takes a TIME takes all of these.  Timecode and frames go by --fps.\n"
    "Samples go by the rate of the sound: in a file by the file's, on the timeline by --rate or\n"
    "else the highest rate of the files.\n";

const char* const kJsonNotes =
    "With --json standard output holds JSON and nothing else; messages stay on standard error.\n"
    "It is one object on one line, except that info prints an array and play a line a second.\n"
    "Where the command fails the last line is an object with the keys event (\"error\"), error\n"
    "(a sentence) and exitStatus.  Levels are in dBFS, times in seconds, and what has no number\n"
    "is null.\n";

const char* const kStandardOutputNotes =
    "\"-\" as the file to write is standard output.  It gets the same bytes as a file would, once\n"
    "all of them are there, so that a failed command writes none; WAV unless --format says aiff.\n";

const char* const kExitNotes = "Exit status:\n"
                               "  0      done\n"
                               "  1      failed\n"
                               "  2      wrong usage\n"
                               "  130    interrupted (Ctrl-C, SIGTERM, SIGHUP)\n";

const char* const kFileNotes =
    "Files:\n"
    "  .NAME.tov-XXXXXX        what is being written, beside the file NAME that it becomes\n"
    "  $TMPDIR/.tov.tov-XXXXXX the same for standard output; has no name but for a moment\n";

static bool writesSound(const CLI::App& command)
{
  const CLI::Option* const format = command.get_option_no_throw("--format");
  return format != nullptr && format->get_description().rfind("wav or aiff", 0) == 0;
}

std::string sharedNotesOf(const CLI::App& command)
{
  std::string notes;
  if (hasValueNamed(command, "TIME")) {
    notes += std::string(kTimeNotes) + "\n";
  }
  if (writesSound(command)) {
    notes += std::string(kStandardOutputNotes) + "\n";
  }
  if (hasOptionNamed(command, "--json")) {
    notes += std::string(kJsonNotes) + "\n";
  }
  return notes + kExitNotes;
}

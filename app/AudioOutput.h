#pragma once

#include <memory>
#include <optional>
#include <string>

#include "app/ChannelBuffers.h"
#include "app/Dither.h"
#include "app/LevelMeter.h"
#include "app/OutputFile.h"
#include "io/TovAudioWriter.h"

class Notices;
class TovAudioTranslator;
struct SourceFile;

/** What is to be written where. */
struct OutputPlan {
  std::string target; ///< "-" is standard output; the suffix says the format
  int rate;
  int bits; ///< 8, 16, 24 or 32
  int channels;
  long long frames;
  bool isDithered;

  /** Null, or the file of the same format whose sample bytes are to be taken
   *  over in the end, since they hold more than a float can carry. */
  const SourceFile* exactSource = nullptr;
  long long exactFirstFrame = 0; ///< of that file

  /** "wav" or "aiff"; empty: what the suffix says, WAV on standard output. */
  std::string formatName = {};
};

/** Throws UsageError where nothing says the format to write, where two say
 *  different ones, and where sound would go to a terminal. */
void checkOutput(const std::string& option, const std::string& target,
                 const std::string& formatName);

/** The format to write; the target must have passed checkOutput(). */
TovAudioTranslator& outputFormatOf(const OutputPlan& plan);

/** A sound file in the making: levels are measured, samples dithered if so
 *  wanted and written to a file that takes the target's place once complete. */
class AudioOutput {
public:
  /** Starts the file.  Throws Failure, also where the finished file would be
   *  larger than its format can say. */
  AudioOutput(const OutputPlan& plan, const Notices& notices);

  /** Appends frames, from the first of each buffer.  @p frame is the timeline
   *  frame of the first; with dither the buffers' contents change. */
  void append(const TovNLPArray<float>& samples, int frames, long long frame);

  /** Ends the writing, makes sure that everything was written and puts the
   *  file in place.  Throws Failure and Interrupted. */
  void finish();

  const LevelMeter& getLevels() const { return levels; }

private:
  void startWriter(const Notices& notices);
  void takeSampleBytes(const SourceFile& source);
  void checkWrittenFile() const;

  OutputPlan plan;
  LevelMeter levels;
  std::optional<Dither> dither;
  OutputFile file;
  std::unique_ptr<TovAudioWriter> writer;
};

/** Says on standard error when samples pass full scale, and by how much the
 *  level would have to come down. */
void sayWhatWasClipped(const OutputPlan& plan, const LevelMeter& levels, const Notices& notices,
                       const std::string& advice);

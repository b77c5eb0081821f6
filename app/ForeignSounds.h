#pragma once

#include <string>

class TovAudioTranslator;

/** Sound files that the library's own readers do not cover, read by
 *  libsndfile.  A build without it has the same functions, which find none. */

/** What is told of such a file. */
struct ForeignSound {
  std::string formatName; ///< "FLAC"
  std::string encoding;   ///< "24-bit signed integer"
  int bits = 0;           ///< of a stored sample; 0 where the coding has none
  int keptBits = 24;      ///< that a conversion keeps unless told otherwise
};

/** Whether this build takes libsndfile, and the machine has it; loads it. */
bool hasLibsndfile();

/** Adds the translator to the library's registry, once, behind its own: it is
 *  asked before them.  Before any thread that looks for readers. */
void addForeignSounds();

/** The translator; null where there is none or it was not added. */
const TovAudioTranslator* foreignSounds();

/** Why libsndfile reads the file at @p path, phrased to follow "libsndfile: ":
 *  "the WAV reader refuses it: 32-bit float WAV".  Empty where the library's
 *  own reader reads it, or nobody, or the translator was not added.  Any
 *  thread. */
std::string whyForeign(const std::string& path);

/** What is told of a file that whyForeign() has a reason for. */
ForeignSound describeForeignSound(const std::string& path);

/** What the user should know before such a file is used, a sentence to follow
 *  its name and a colon: integers where the library takes floating point, and
 *  wrong sizes.  Mostly empty. */
std::string noticeOnForeign(const std::string& path);

/** Why a file that begins as one of libsndfile's formats is not read, phrased
 *  to follow its name and a colon; else empty. */
std::string libsndfileError(const std::string& path);

/** 32-bit WAV whose samples are integers by their values is read as floating
 *  point nevertheless, as the user told.  Before any thread that looks for
 *  readers. */
void readIntegersAsScaledFloats(bool isForced);

#pragma once

#include "app/SourceFile.h"

class Notices;

/** What the samples of a 32-bit WAV file look like when they are read as the
 *  library reads them. */
struct ScaledFloatFindings {
  long long notNumbers = 0; ///< NaN
  long long huge = 0;       ///< beyond 16 times full scale

  bool areImplausible() const { return notNumbers + huge > 0; }
};

/** Whether the samples of a 25- to 32-bit WAV file are integers by their
 *  values: most of those near its beginning make no sense as the library's
 *  floats.  False for other files. */
bool holdsIntegers(const std::string& path);

/** Reads the whole file once. */
ScaledFloatFindings examineScaledFloat(const SourceFile& source);

/** "12 samples are not numbers and 3 lie beyond 16 times full scale". */
std::string findingsForPeople(const ScaledFloatFindings& findings);

/** Says what the user should know of how a file is read.  WAV files of 25 to 32
 *  bits are read as floats under the integer's tag, and other programs write
 *  integers there: throws Failure where the samples of one that is read so
 *  cannot be meant so, unless @p isForced. */
void checkScaledFloatInput(const SourceFile& source, bool isForced, const Notices& notices);

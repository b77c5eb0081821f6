#pragma once

#include "fuzz/Target.h"

namespace fuzz {

// The inputs that the fuzzing of each target starts from, built field by field
// as the tests build theirs; in seeds/.

void aiffSeeds(const SeedTaker& take);
void wavSeeds(const SeedTaker& take);
void textSeeds(const SeedTaker& take);
void namesSeeds(const SeedTaker& take);
void pathsSeeds(const SeedTaker& take);
void conversionSeeds(const SeedTaker& take);
void resamplingSeeds(const SeedTaker& take);
void pitchSeeds(const SeedTaker& take);
void blobsSeeds(const SeedTaker& take);
void settingsSeeds(const SeedTaker& take);
void writersSeeds(const SeedTaker& take);
void spansSeeds(const SeedTaker& take);
void graphSeeds(const SeedTaker& take);
void fifoSeeds(const SeedTaker& take);

} // namespace fuzz

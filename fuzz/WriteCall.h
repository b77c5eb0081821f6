#pragma once

#include "fuzz/Input.h"
#include "tests/support/FileFormats.h"

namespace fuzz {

/** A format that a host asks a writer for, whether or not a file can have it:
 *  rates up to beyond 31 bits, samples of 0 to 5 bytes, and none, few or tens of
 *  thousands of channels. */
TovAudioIOFormat requestedFormat(Input& input);

/** One call of writeChannels(): mostly few frames, of all kinds, those beyond
 *  full scale among them. */
struct WriteCall {
  WriteCall(Input& input, std::uint32_t channels);

  support::Signal signal;
  int startFrame; ///< of which writers make nothing
};

} // namespace fuzz

#pragma once

#include "io/TovAudioIOFormat.h"

/** A usable format with those fields right that the conversions go by, and the
 *  others absurd: nothing may depend on them. */
inline TovAudioIOFormat formatRecord(int encoding, int channels, bool bigEndian)
{
  TovAudioIOFormat format{};
  format.state = FormatValid;
  format.encoding = static_cast<std::uint32_t>(encoding);
  format.bytesPerSample = 77;
  format.bigEndian = bigEndian ? 1 : 0;
  format.sampleRate = 0;
  format.frameCount = -5;
  format.channels = static_cast<std::uint32_t>(channels);
  return format;
}

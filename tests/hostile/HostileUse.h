#pragma once

#include <string>
#include <vector>

#include "io/TovAudioIOFormat.h"
#include "tests/support/Buffers.h"

class TovAudioProvider;

namespace support {

/** Statuses of what a host does with a file. */
struct FileUse {
  int openStatus = 1;
  int formatStatus = 1;
  TovAudioIOFormat format = {};
  int readStatus = 1;     ///< of one frame at the beginning
  int providerStatus = 0; ///< of naming it to a file provider
  int audioStatus = 0;    ///< of the last request to that
};

/** What is asked of a provider: 4096 frames. */
struct FrameRequest {
  int rate = 44100;
  int quality = 3;
  double time = 0.0;
};

/** Opens the file with the reader that its header or its suffix chooses, and
 *  with a file provider, and renders each request.  Opening has to be bounded
 *  in processor time and memory, and every request in memory. */
FileUse useFile(const std::string& path, const std::vector<FrameRequest>& requests);

/** Activates the provider and renders the request, in bounded memory and
 *  with nothing written outside the buffers.  The status of the rendering. */
int renderBounded(TovAudioProvider& provider, const FrameRequest& request, int channels = 2);

} // namespace support

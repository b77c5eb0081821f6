#pragma once

#include <functional>
#include <memory>

#include "playout/PlayoutDevice.h"

/** Where devices come from.  Tests bring their own. */
struct DeviceMakers {
  std::function<std::unique_ptr<PlayoutDevice>()> output = makeCubebDevice; ///< may make null
  std::function<std::unique_ptr<PlayoutDevice>()> silence = makeNullDevice;
};

/** Which device is played through: the one that the environment variable
 *  PLAYOUT_DEVICE asks for.
 *
 *      auto    the computer's audio output, or else silence against the clock,
 *              with a warning; also when the variable is missing or empty
 *      cubeb   the computer's audio output
 *      null    silence against the clock
 *
 *  Host's side, one thread at a time.
 */
class DeviceChoice {
public:
  explicit DeviceChoice(DeviceMakers makers);

  /** Reads the variable.  False, with a message, for any other text. */
  bool readEnvironment();

  /** A device that has been opened, or null. */
  std::unique_ptr<PlayoutDevice> open(PlayoutSource& source, double rate, int channels);

  /** The same, started as well; @p beforeStart is called before each start,
   *  since one that fails may have pulled. */
  std::unique_ptr<PlayoutDevice> openAndStart(PlayoutSource& source, double rate, int channels,
                                              const std::function<void()>& beforeStart);

  /** The last device that was opened is silence that nobody asked for: before
   *  it is started, the output is worth another try. */
  bool isFallback() const { return fellBack; }

private:
  enum class Kind { automatic, output, silence };
  std::unique_ptr<PlayoutDevice> choose(const std::function<bool(PlayoutDevice&)>& begin);

  const DeviceMakers makers;
  Kind kind = Kind::automatic;
  bool fellBack = false;
  bool hasWarned = false; ///< since the output worked last
};

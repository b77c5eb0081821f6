#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "playout/PlayoutEngine.h"

namespace support {

/** The playout engine of this program: it defines the functions of
 *  PlayoutEngine.h itself, records every call, and answers as it was told.
 *
 *  A call is recorded as text, handles by the names "mixer", "track",
 *  "transport", "module", "parameter" and "supplier", numbers in their
 *  shortest exact form: "PeTransportSetStartTime(transport, 44100)".  What is
 *  not a handle of this engine reads "stranger", and "null".
 *
 *  Counts while it lives, one at a time; every call fails while there is none.
 *  The answers are set by the thread that calls the player.
 */
class RecordingEngine {
public:
  RecordingEngine();
  ~RecordingEngine();
  RecordingEngine(const RecordingEngine&) = delete;
  RecordingEngine& operator=(const RecordingEngine&) = delete;

  /** The calls since the construction or the last take. */
  std::vector<std::string> take();

  /** How often the function was called since the last take. */
  int count(const std::string& function) const;

  /** Adds an event of another source to the record. */
  void note(const std::string& event);

  /** Lets every call of the function return @p status; 0 lets it succeed. */
  void fail(const std::string& function, int status);

  // --- What the supplier was given as, and a call of it --------------------

  PeAudioSupplierProc supplier() const { return proc; }
  void* refCon() const { return supplierRefCon; }
  int pull(unsigned long frames, float* left, float* right, unsigned char* flag) const;

  // --- Answers --------------------------------------------------------------

  bool playing = false; ///< set by Start and Stop
  double time = 0.0;
  int parameterCount = 1;
  float minimum = 0.0f;
  float maximum = 1.0f;
  float value = 1.0f; ///< set by PeParameterSetCurrentValue
  float levels[2] = {0.25f, 0.75f};

  // --- For the engine's functions -------------------------------------------

  static RecordingEngine* current();
  int called(const std::string& function, const std::string& arguments);
  void setSupplier(PeAudioSupplierProc function) { proc = function; }
  void setRefCon(void* data) { supplierRefCon = data; }
  static std::string number(double value);

private:
  mutable std::mutex mutex;
  std::vector<std::string> calls;
  std::map<std::string, int> failures;
  PeAudioSupplierProc proc = nullptr;
  void* supplierRefCon = nullptr;
};

} // namespace support

#pragma once

#include <atomic>

#include "core/TovExport.h"

/** The live value of a host setting.  Any thread; reading is real-time safe. */
class TOV_HOSTCORE_API TovPlug {
public:
  TovPlug() noexcept;
  TovPlug(const TovPlug&) = delete;
  TovPlug& operator=(const TovPlug&) = delete;

  /** The value as a number, its fraction dropped; 0 for what is no number. */
  int asInt() const;

  /** The value as a number; 0.0 for what is no number. */
  float asFloat() const;

  /** The host's side: changes the value at once.  Null is no value (0). */
  void set(const char* value);

private:
  friend class TovGlobals;
  void setDefault(const char* value);
  void store(const char* value);

  std::atomic<int> intValue;
  std::atomic<float> floatValue;
  bool isSetByHost; ///< a later declaration's default no longer counts; protected by a mutex
};

#include "tests/soundserver/SoundEnvironment.h"

#include <cstdlib>
#include <optional>

#include <sched.h>

/** An environment variable with another value for a while. */
class SoundEnvironment::Variable {
public:
  Variable(const char* variable, const std::string& value) : name(variable)
  {
    if (const char* const found = std::getenv(name))
      before = found;
    set(value);
  }
  ~Variable()
  {
    if (before)
      set(*before);
    else
      ::unsetenv(name);
  }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

  void set(const std::string& value) const { ::setenv(name, value.c_str(), 1); }

private:
  const char* name;
  std::optional<std::string> before;
};

void putAhead(::pid_t thread)
{
  ::sched_param priority{};
  priority.sched_priority = ::sched_get_priority_min(SCHED_RR);
  ::sched_setscheduler(thread, SCHED_RR, &priority);
}

SoundEnvironment::SoundEnvironment()
{
  const auto set = [this](const char* name, const std::string& value) {
    variables.push_back(std::make_unique<Variable>(name, value));
  };
  set("PLAYOUT_DEVICE", "cubeb");
  for (const char* const name : {"HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR", "PULSE_STATE_PATH",
                                 "PULSE_RUNTIME_PATH", "PIPEWIRE_RUNTIME_DIR"})
    set(name, root.folder());
  // Named, so that the client library starts no server of its own accord.
  set("PULSE_SERVER", "unix:" + socket());
  set("PULSE_COOKIE", root.path("cookie"));
  set("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + root.path("no-bus"));
  // Deeper buffers than the engine asks for: these tests are about samples, and
  // may run on a small machine that is busy.  No deeper: what is pulled at once
  // in the beginning, this less the 50 ms of the sink, must lie within the one
  // block that a player has surely rendered by then.
  set("PULSE_LATENCY_MSEC", "140");
  root.write("no-cards.conf", std::vector<std::uint8_t>{});
  set("ALSA_CONFIG_PATH", root.path("no-cards.conf"));
  set("JACK_DEFAULT_SERVER", "none");
  set("JACK_NO_START_SERVER", "1");
  set("AUDIODEVICE", "snd@none/0");

  // What is started from here on inherits it, the player's threads included.
  putAhead(0);
}

SoundEnvironment::~SoundEnvironment()
{
  const ::sched_param ordinary{};
  ::sched_setscheduler(0, SCHED_OTHER, &ordinary);
}

void SoundEnvironment::choosePlayoutDevice(const std::string& device)
{
  variables.front()->set(device);
}

#include "core/TovGlobals.h"

#include <map>
#include <mutex>
#include <string>

namespace {

struct Setting {
  TovPlug plug;
  bool isDeclared = false; ///< Protected by Registry::mutex
};

struct Registry {
  std::mutex mutex;
  std::map<std::string, Setting> settings; ///< Protected by mutex; nodes never move

  /** Never destroyed: settings are read until the very end of the process. */
  static Registry& instance()
  {
    static Registry* const registry = new Registry;
    return *registry;
  }
};

const char* hostDefaultOf(const std::string& name)
{
  return name == "script.framesPerSecond" ? "24" : nullptr;
}

} // namespace

TovPlug* TovGlobals::def(const TovName& name, const char* defaultValue, TovId)
{
  Registry& registry = Registry::instance();
  const std::lock_guard<std::mutex> guard(registry.mutex);
  Setting& setting = registry.settings[name.c_str()];
  if (!setting.isDeclared)
    setting.plug.setDefault(defaultValue);
  setting.isDeclared = true;
  return &setting.plug;
}

TovPlug* TovGlobals::def(const TovName& name, const TovName& defaultValue, TovId type)
{
  return def(name, defaultValue.c_str(), type);
}

TovPlug* TovGlobals::ref(const TovName& name, TovId, int)
{
  Registry& registry = Registry::instance();
  const std::lock_guard<std::mutex> guard(registry.mutex);
  const auto [position, isNew] = registry.settings.try_emplace(name.c_str());
  if (isNew)
    position->second.plug.setDefault(hostDefaultOf(position->first));
  return &position->second.plug;
}

#include "playout/CubebLibrary.h"

#include <optional>

#if defined(TOV_CUBEB_FILE)

#  include <dlfcn.h>

namespace {

template <typename Function>
bool find(void* library, const char* name, Function& function)
{
  function = reinterpret_cast<Function>(dlsym(library, name));
  return function != nullptr;
}

std::optional<CubebLibrary> load()
{
  void* const library = dlopen(TOV_CUBEB_FILE, RTLD_NOW | RTLD_LOCAL);
  CubebLibrary functions{};
  const bool isComplete =
      library && find(library, "cubeb_init", functions.init) &&
      find(library, "cubeb_destroy", functions.destroy) &&
      find(library, "cubeb_get_backend_id", functions.getBackendId) &&
      find(library, "cubeb_get_min_latency", functions.getMinLatency) &&
      find(library, "cubeb_enumerate_devices", functions.enumerateDevices) &&
      find(library, "cubeb_device_collection_destroy", functions.deviceCollectionDestroy) &&
      find(library, "cubeb_stream_init", functions.streamInit) &&
      find(library, "cubeb_stream_destroy", functions.streamDestroy) &&
      find(library, "cubeb_stream_start", functions.streamStart) &&
      find(library, "cubeb_stream_stop", functions.streamStop) &&
      find(library, "cubeb_stream_get_position", functions.streamGetPosition);
  if (!isComplete)
    return std::nullopt;
  return functions;
}

} // namespace

#else

namespace {

std::optional<CubebLibrary> load()
{
  return CubebLibrary{cubeb_init,
                      cubeb_destroy,
                      cubeb_get_backend_id,
                      cubeb_get_min_latency,
                      cubeb_enumerate_devices,
                      cubeb_device_collection_destroy,
                      cubeb_stream_init,
                      cubeb_stream_destroy,
                      cubeb_stream_start,
                      cubeb_stream_stop,
                      cubeb_stream_get_position};
}

} // namespace

#endif

const CubebLibrary* CubebLibrary::get()
{
  static const std::optional<CubebLibrary> library = load();
  return library ? &*library : nullptr;
}

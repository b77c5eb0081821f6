#include "app/Libsndfile.h"

#include "app/SharedLibrary.h"

const Libsndfile* libsndfile()
{
  static SharedLibrary library({"libsndfile.so.1", "libsndfile.1.dylib"});
  static const Libsndfile functions = {
      library.find<decltype(sf_close)>("sf_close"),
      library.find<decltype(sf_command)>("sf_command"),
      library.find<decltype(sf_open_virtual)>("sf_open_virtual"),
      library.find<decltype(sf_readf_float)>("sf_readf_float"),
      library.find<decltype(sf_seek)>("sf_seek"),
      library.find<decltype(sf_strerror)>("sf_strerror"),
  };
  return library.isUsable() ? &functions : nullptr;
}

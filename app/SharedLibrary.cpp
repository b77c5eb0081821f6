#include "app/SharedLibrary.h"

#include <dlfcn.h>

SharedLibrary::SharedLibrary(std::initializer_list<const char*> names)
{
  for (const char* const name : names) {
    if (handle == nullptr) {
      handle = dlopen(name, RTLD_NOW | RTLD_LOCAL);
    }
  }
}

void* SharedLibrary::address(const char* name)
{
  void* const found = handle == nullptr ? nullptr : dlsym(handle, name);
  if (found == nullptr) {
    handle = nullptr;
  }
  return found;
}

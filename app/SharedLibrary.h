#pragma once

#include <initializer_list>

/** A library of the system that is loaded where it is needed, so that commands
 *  which do without it start as fast and as small as if there were none. */
class SharedLibrary {
public:
  /** Loads the first of @p names that is there. */
  explicit SharedLibrary(std::initializer_list<const char*> names);
  SharedLibrary(const SharedLibrary&) = delete;
  SharedLibrary& operator=(const SharedLibrary&) = delete;

  /** False also after a function was not found. */
  bool isUsable() const { return handle != nullptr; }

  template <typename Function>
  Function* find(const char* name)
  {
    return reinterpret_cast<Function*>(address(name));
  }

private:
  void* address(const char* name);

  void* handle = nullptr; // stays loaded: its threads and exit handlers may still run
};

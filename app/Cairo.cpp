#include "app/Cairo.h"

#include "app/Failures.h"
#include "app/SharedLibrary.h"

const Cairo& cairo()
{
  static SharedLibrary library({"libcairo.so.2", "libcairo.2.dylib"});
  static const Cairo functions = {
#define TOV_FOUND(name) library.find<decltype(cairo_##name)>("cairo_" #name),
      TOV_CAIRO_FUNCTIONS(TOV_FOUND)
#undef TOV_FOUND
  };
  if (!library.isUsable()) {
    throw Failure("plot", "pictures are drawn by cairo, which is not on this machine");
  }
  return functions;
}

#include "app/Notices.h"

#include <cstdio>

void Notices::say(const std::string& file, const std::string& text) const
{
  if (!quiet) {
    (void)std::fprintf(stderr, "%s: %s\n", file.c_str(), text.c_str());
  }
}

#include "app/PrintedText.h"

#include <cstdio>
#include <iostream>

#include "app/Failures.h"

void printText(const std::string& text)
{
  if (!(std::cout << text << std::flush)) {
    throw Failure("standard output", "could not be written");
  }
}

bool isAllPrinted()
{
  const bool isFlushed = std::fflush(stdout) == 0;
  return isFlushed && std::ferror(stdout) == 0 && std::cout.flush().good();
}

#include "app/PrintedText.h"

#include <iostream>

#include "app/Failures.h"

void printText(const std::string& text)
{
  if (!(std::cout << text << std::flush)) {
    throw Failure("standard output", "could not be written");
  }
}

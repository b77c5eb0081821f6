#include "bench/Works.h"

#include <stdexcept>
#include <string>

std::function<void()> makeWork(std::istream& words)
{
  std::string kind;
  words >> kind;
  if (kind == "decode")
    return makeDecoding(words);
  if (kind == "encode")
    return makeEncoding(words);
  if (kind == "resample")
    return makeResampling(words);
  throw std::runtime_error("no such work: " + kind);
}

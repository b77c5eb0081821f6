#include "core/TovBuffer.h"

TovBuffer::TovBuffer() noexcept : data(nullptr), size(0) {}

TovBuffer::~TovBuffer()
{
  delete[] data;
}

void TovBuffer::allocate(unsigned long bytes)
{
  unsigned char* const fresh = bytes ? new unsigned char[bytes]() : nullptr;
  delete[] data;
  data = fresh;
  size = bytes;
}

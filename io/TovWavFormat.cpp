#include "io/TovWavFormat.h"

#include <cstring>

#include "io/TovByteOrder.h"

void fillChunkDesc(TovWavChunkDesc& desc, const unsigned char* bytes)
{
  std::memcpy(desc.id, bytes, sizeof desc.id);
  bytes += sizeof desc.id;
  desc.size = tovReadLittleEndian(bytes, 4);
}

void fillMemWithDesc(unsigned char* bytes, const TovWavChunkDesc& desc)
{
  std::memcpy(bytes, desc.id, sizeof desc.id);
  bytes += sizeof desc.id;
  tovWriteLittleEndian(bytes, desc.size, 4);
}

#include "io/TovAiffFormat.h"

#include <cstring>

#include "io/TovByteOrder.h"

void fillChunkDesc(TovAiffChunkDesc& desc, const unsigned char* bytes)
{
  std::memcpy(desc.id, bytes, sizeof desc.id);
  bytes += sizeof desc.id;
  desc.size = tovReadBigEndian(bytes, 4);
}

void fillMemWithDesc(unsigned char* bytes, const TovAiffChunkDesc& desc)
{
  std::memcpy(bytes, desc.id, sizeof desc.id);
  bytes += sizeof desc.id;
  tovWriteBigEndian(bytes, desc.size, 4);
}

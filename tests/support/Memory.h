#pragma once

namespace support {

/** Bytes that the program holds on its heap now. */
long long heapInUse();

/** Bytes of physical memory that the process has now, and had at most. */
long long residentBytes();
long long peakResidentBytes();

/** Whether a sanitizer keeps memory beyond what the program asked for. */
bool hasSanitizerOverhead();

} // namespace support

#pragma once

#include <functional>

#include "app/ChannelBuffers.h"
#include "app/FrameSpan.h"
#include "app/SourceFile.h"

/** Frames of a block of so many channels: 4096, but fewer where the channels
 *  are so many that a block would take hundreds of megabytes. */
int framesPerBlock(int channels);

/** Reads the whole file, all channels, from its first frame to its last, and
 *  hands over block by block.  Constant memory.  Throws Failure where the file
 *  cannot be read to its end, Interrupted between blocks. */
void readInBlocks(const SourceFile& source,
                  const std::function<void(const ChannelBuffers& block, int frames)>& take);

/** The same for a part of the file. */
void readInBlocks(const SourceFile& source, FrameSpan part,
                  const std::function<void(const ChannelBuffers& block, int frames)>& take);

/** Throws Failure where the file has become shorter than its header says. */
void throwIfCutShort(const SourceFile& source);

/** False where the file at the source's path has become shorter than its
 *  header says.  A file that was removed can still be read by whoever has it
 *  open. */
bool isStillWhole(const SourceFile& source);

#pragma once

/** A piece of a span of timeline frames that lies within one block of a fixed
 *  grid.
 *
 *      grid      |....block 0....|....block 1....|....block 2....|
 *      span            [---------------------------)
 *      pieces          [ offset,  )[  whole block )[ )
 *
 *  Blocks are rendered whole and on the same grid whatever span is asked for,
 *  so that a sample never depends on where a render was cut. */
struct GridPiece {
  long long blockStart; ///< timeline frame of the block's first frame; may be negative
  int offset;           ///< frames of the block before the piece
  int count;            ///< frames of the piece
};

/** The piece that begins at @p frame and ends with its block or before
 *  @p spanEnd, whichever comes first. */
inline GridPiece gridPieceAt(long long frame, long long spanEnd, int blockFrames)
{
  const long long remainder = frame % blockFrames;
  const long long offset = remainder < 0 ? remainder + blockFrames : remainder;
  const long long inBlock = blockFrames - offset;
  const long long inSpan = spanEnd - frame;
  return {frame - offset, static_cast<int>(offset),
          static_cast<int>(inSpan < inBlock ? inSpan : inBlock)};
}

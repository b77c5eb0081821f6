#pragma once

/** A part of the timeline, in frames of the mix. */
struct FrameSpan {
  long long from;
  long long to;

  long long length() const { return to - from; }
};

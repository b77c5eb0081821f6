#pragma once

#include <functional>

#include "app/ChannelBuffers.h"
#include "app/FrameSpan.h"
#include "app/MixGraph.h"
#include "app/Progress.h"
#include "app/SourceFile.h"

/** Sound that is drawn: a file's, or the sum of a mix. */
class PlotSound {
public:
  /** Frames from @p first on, one buffer per channel. */
  using Take = std::function<void(const TovNLPArray<float>& samples, int frames, long long first)>;

  virtual ~PlotSound() = default;

  virtual int getRate() const = 0;
  virtual int getChannels() const = 0;

  /** All frames that there are. */
  virtual FrameSpan getExtent() const = 0;

  /** The magnitude from which on a sample is at full scale: of a file the
   *  highest code, of a mix what is just above. */
  virtual float getFullScale() const = 0;

  /** Hands over the frames of @p span, which lies within the extent, in their
   *  order.  Constant memory.  Throws Failure and Interrupted. */
  virtual void read(FrameSpan span, Progress& progress, const Take& take) = 0;
};

/** All channels of a file. */
class FileSound : public PlotSound {
public:
  explicit FileSound(SourceFile file) : source(std::move(file)) {}

  int getRate() const override { return source.rate(); }
  int getChannels() const override { return source.channels(); }
  FrameSpan getExtent() const override { return {0, source.format.frameCount}; }
  float getFullScale() const override;
  void read(FrameSpan span, Progress& progress, const Take& take) override;

private:
  SourceFile source;
};

/** What a mix comes to. */
class MixSound : public PlotSound {
public:
  explicit MixSound(MixGraph& mixGraph) : graph(mixGraph) {}

  int getRate() const override { return graph.getRate(); }
  int getChannels() const override { return 2; }
  FrameSpan getExtent() const override;
  float getFullScale() const override;
  void read(FrameSpan span, Progress& progress, const Take& take) override;

private:
  MixGraph& graph;
};

/** Hands over frames of some channels of a file, counted from 0. */
void readSpan(const SourceFile& source, const TovNLArray<int>& channels, FrameSpan span,
              const PlotSound::Take& take);

#pragma once

#include <atomic>

#include "core/TovAudioContext.h"
#include "core/TovCallbackList.h"
#include "core/TovExport.h"
#include "core/TovNLVArray.h"

/** A node of the provider graph: whatever produces audio on request.
 *
 *  Threads: any thread, but where a line says otherwise.  Two lock words, taken
 *  in this order when both are needed:
 *  - providerLock guards settings, state and rendering, and stays with the
 *    public operations of derived classes for their whole work; the same
 *    operation with the suffix `NoLock` expects the caller to hold it (or to
 *    know that no other thread can reach the object).
 *  - bufferLock guards the allocation of the sample buffers.
 *  An outer provider's lock is taken before its input's, never the other way
 *  round.  No notification is sent with the sender's lock held.
 *
 *  Ownership: shared by reference count.  A new provider has one reference,
 *  its creator's, and dies with dereference() of the last one.
 *
 *  Status codes: 0 success; 1 not usable, or a reader call failed; 2 unknown
 *  file type or no reader; 3 the file could not be opened; 4 bad argument; 5
 *  nothing to deliver.
 */
class TOV_API TovAudioProvider {
public:
  TovAudioProvider();

  /** Copies nothing: the new provider is as fresh as a default one. */
  TovAudioProvider(const TovAudioProvider& other);
  TovAudioProvider& operator=(const TovAudioProvider&) = delete;

  // --- Virtual operations, in slot order ---------------------------------

  /** A new, independent provider with the same settings and one reference. */
  virtual TovAudioProvider* clone() const = 0;

  /** The sample index of a time in seconds: floor(sampleRate * time) in
   *  double precision.  NaN gives 0; what does not fit saturates. */
  virtual long long getSampleIndex(const TovAudioContext& context, double time) const;

  /** Frames of the span [t0, t1): the difference of its sample indices,
   *  negative where t1 lies before t0; saturates. */
  virtual long long getNumSampleFrames(const TovAudioContext& context, double t0, double t1) const;

  /** A time in seconds whose sample index is not below @p sample: the quotient
   *  itself where it gives that index, else the first probed in steps of half
   *  a frame.  Always ends; a sample rate below 1 gives the quotient, and 0
   *  gives 0.0. */
  virtual double getTimeOfSample(const TovAudioContext& context, long long sample) const;

  /** To be called before a run of getAudio() calls; returns a status code.
   *  May block on the disk. */
  virtual int activate(const TovAudioContext& context) = 0;

  /** To be called after a run of getAudio() calls; returns a status code. */
  virtual int deactivate() = 0;

  /** Renders the span [t0, t1) of request time, in seconds, into one buffer
   *  per channel of getNumSampleFrames() floats each.  @p channelMap says
   *  which channel of the source each buffer receives.  Returns a status
   *  code; 5 leaves the buffers untouched.  May allocate and block. */
  virtual int getAudio(const TovNLPArray<float>& buffers, const TovNLArray<int>& channelMap,
                       const TovAudioContext& context, double t0, double t1) = 0;

  /** Registers a function to be called with @p data after a setting changed;
   *  the same pair may be registered more than once.  Takes providerLock. */
  virtual void addCallback(void (*function)(void*), void* data);

  /** Removes every registration of the pair.  Takes providerLock.  A call that
   *  runs on another thread may still be under way on return. */
  virtual void removeCallback(void (*function)(void*), void* data);

  /** Calls what is registered, in order, on the calling thread.  Takes no
   *  provider lock.  Callbacks may add and remove callbacks on any provider:
   *  what is removed meanwhile is not called, what is added is called from
   *  the next time on.  A callback must not drop this provider's last
   *  reference. */
  virtual void callNotifyCallbacks();

  /** Writes the settings as a blob: *out receives an array that the caller
   *  frees with array delete; the result is its length in bytes. */
  virtual int serialize(void** out) = 0;

  /** Reads the settings from a blob: the bytes consumed, or -1. */
  virtual int deserialize(const void* blob, bool append) = 0;

protected:
  virtual ~TovAudioProvider();

public:
  /** Whether this provider is @p provider, or renders it through whatever it
   *  is made of.  Mixers and resamplers refuse an input that is fed by
   *  themselves, since a request would never end; a provider of the host that
   *  has inputs answers for them.  Takes the locks that guard the inputs. */
  virtual bool isFedBy(const TovAudioProvider* provider) const;

  // --- Sharing -----------------------------------------------------------

  /** Adds a reference; returns the new count. */
  int reference();

  /** Drops a reference, destroys the provider with the last one; returns the
   *  new count. */
  int dereference();

  // --- Locking -----------------------------------------------------------

  void lockAcquire() const;
  int lockAttempt() const; ///< non-zero when taken
  void lockRelease() const;

  // --- Sample buffers ----------------------------------------------------

  /** The scratch buffers, one block of floats per channel.  The array itself;
   *  there may be more blocks than the last request asked for. */
  TovNLPArray<float>& getSampleBuffers();

  /** Frames that each block holds. */
  long long getSampleBufferFrames() const;

  /** Makes sure of @p numChannels blocks of @p frames frames.  Blocks that are
   *  too short are all replaced by longer ones with 10 frames to spare, so
   *  that requests of slightly varying length reuse them; contents are not
   *  kept nor cleared.  Takes bufferLock; allocates. */
  void allocSampleBuffers(int numChannels, long long frames);

  /** Frees every block.  Takes no lock. */
  void clearSampleBuffers();

  // --- Blob primitives: most significant byte first ----------------------
  // Each reads or writes at the cursor and moves it on.  None checks for the
  // end of the data.

  static unsigned short readUShort(unsigned char** cursor);
  static unsigned int readUInt(unsigned char** cursor);
  static float readFloat(unsigned char** cursor);
  static double readDouble(unsigned char** cursor);
  static void writeVal(unsigned char** cursor, unsigned short value);
  static void writeVal(unsigned char** cursor, unsigned int value);
  static void writeVal(unsigned char** cursor, float value);
  static void writeVal(unsigned char** cursor, double value);

protected:
  /** Frames of one channel that a request may need: about 100 minutes at
   *  44.1 kHz.  Beyond that it is a mistake and not worth the memory. */
  static constexpr long long kMostRequestFrames = 1LL << 28;

  /** Frees this provider's sample buffers where those of all providers hold more
   *  than 2^22 samples: settings may name hundreds of files that each need
   *  long ones.  Caller has done with them. */
  void releaseSampleBuffersInExcess();

  static bool hasNullBuffer(const TovNLPArray<float>& buffers);

  /** The position, in source frames and rounded up, of the last of
   *  @p outFrames frames that begin at @p phase and are @p step apart, as the
   *  resampler comes to it: over very many frames its position drifts.  0
   *  where there is no frame. */
  static long long lastPosition(long long outFrames, float phase, double step);

  /** Holds providerLock for a scope, on every way out of it. */
  class LockedProvider {
  public:
    explicit LockedProvider(const TovAudioProvider& p) : provider(&p) { p.lockAcquire(); }
    ~LockedProvider()
    {
      if (provider)
        provider->lockRelease();
    }
    LockedProvider(const LockedProvider&) = delete;
    LockedProvider& operator=(const LockedProvider&) = delete;

    /** Leaves the lock held for good; changes of the callback list then do
     *  not wait for it. */
    void abandon();

  private:
    const TovAudioProvider* provider; ///< null once the lock is abandoned
  };

private:
  class CallbackListChange;

  std::atomic<int> refCount;
  TovNLPArray<float> sampleBuffers; ///< owns its blocks; allocation protected by bufferLock
  long long sampleBufferFrames;     ///< frames of each block; protected by bufferLock
  TovCallbackList<void (*)(void*)> callbacks;
  mutable unsigned int providerLock;
  unsigned int bufferLock;
  mutable std::atomic<bool> providerLockAbandoned;
};

/** The double whose 8 bytes are those of @p value in reverse order. */
TOV_API double TovSwab(double value);

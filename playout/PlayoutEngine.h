#pragma once

/** The playout engine: plays what a supplier delivers through the computer's
 *  audio output.
 *
 *      supplier -> track -> overall level (volume, meters) -> device
 *                             transport: starts, stops, tells the position
 *
 *  A C interface, so that a program or another library can stand in for it at
 *  link time by defining all of these functions.
 *
 *  Results: 0 success; anything else is a failure, and outputs are then left
 *  as they were.  A null handle or output is a failure.  Handles are valid
 *  until PeMixerDestroy() of the mixer they came from.
 *
 *  Times are samples at the track's rate.
 *
 *  Threads: any thread, but the supplier's own, on which none of these
 *  functions may be called.  Calls on one mixer may overlap but for
 *  PeMixerDestroy().
 */

#if defined(_WIN32) && !defined(TOV_STATIC)
#  if defined(TOV_BUILDING_PLAYOUT)
#    define TOV_PLAYOUT_API __declspec(dllexport)
#  else
#    define TOV_PLAYOUT_API __declspec(dllimport)
#  endif
#elif defined(_WIN32)
#  define TOV_PLAYOUT_API
#else
#  define TOV_PLAYOUT_API __attribute__((visibility("default")))
#endif

extern "C" {

typedef struct PeMixerObject* PeMixer;
typedef struct PeTrackObject* PeTrack;
typedef struct PeTransportObject* PeTransport;
typedef struct PeModuleObject* PeModule;
typedef struct PeParameterObject* PeParameter;
typedef struct PeAudioSupplierObject* PeAudioSupplierUPP;

/** Delivers the next @p frames frames, one buffer per channel of the track,
 *  every one of them to be filled.  @p time is the position of the first of
 *  them; @p n is how many calls this start of the transport has made before.
 *  *flag may be set to non-zero for frames that are all silence.  The result
 *  is 0, or anything else for a failure, which plays as silence.
 *
 *  Called on the device's callback thread, while the transport plays: must not
 *  allocate, lock, wait, do I/O or call the system. */
typedef int (*PeAudioSupplierProc)(void* refCon, double time, unsigned long n, unsigned long frames,
                                   float** buffers, unsigned char* flag);

/** Makes a mixer with its overall level; its output is opened with the first
 *  track.  @p outputs is the number of outputs: 1.  Allocates. */
TOV_PLAYOUT_API int PeMixerCreate(int outputs, PeMixer* mixer);

/** Stops the transport, closes the device and frees the mixer with all its
 *  handles.  No supplier call is under way or arrives after it returns.
 *  Blocks for a second at the most, and as long as a supplier call takes. */
TOV_PLAYOUT_API int PeMixerDestroy(PeMixer mixer);

/** Drops what the engine holds of the last playback: its meters, and a device
 *  that was lost.  What the device has been handed is still heard, so that the
 *  end of a span is not cut off.  Fails while the transport plays, and where a
 *  supplier call that a stop did not wait for is still under way a second
 *  later.  Blocks until the call of the output callback has ended that is
 *  under way, for a second at the most. */
TOV_PLAYOUT_API int PeMixerReset(PeMixer mixer);

/** Wraps a supplier function for PeMixerCreateTrack().  Never freed; the same
 *  function gives the same wrapper. */
TOV_PLAYOUT_API int NewPeAudioSupplierUPP(PeAudioSupplierProc function,
                                          PeAudioSupplierUPP* supplier);

/** Makes the mixer's track, of which it has one: @p channels (1 to 8) floats a
 *  frame at @p sampleRate (1000 to 192000) frames per second, pulled from
 *  @p supplier with @p refCon.  The three numbers are reserved and must be 0.
 *  Opens the device, of the kind that the environment variable PLAYOUT_DEVICE
 *  chooses: "cubeb", the computer's audio output; "null", silence against the
 *  clock; "auto", also when it is not set, the first of these that can be had,
 *  with a warning for silence.  Fails where the chosen kind cannot be had. */
TOV_PLAYOUT_API int PeMixerCreateTrack(PeMixer mixer, PeAudioSupplierUPP supplier, void* refCon,
                                       int channels, double sampleRate, int reserved1,
                                       int reserved2, int reserved3, PeTrack* track);

TOV_PLAYOUT_API int PeMixerGetTransport(PeMixer mixer, PeTransport* transport);

/** Begins to pull from the supplier at the start time.  A transport that plays
 *  goes on as it is.  Opens a device anew where the last one was lost; fails
 *  where there is none, or without a track.  Blocks while it does so. */
TOV_PLAYOUT_API int PeTransportStart(PeTransport transport);

/** Ends the pulling: no supplier call is under way or arrives after it
 *  returns, until the next start.  The device plays out what it has been
 *  handed.  A transport that is stopped stays so.  Fails where a supplier call
 *  does not end within a second; the transport does not play then either. */
TOV_PLAYOUT_API int PeTransportStop(PeTransport transport);

/** Where the next start begins; may be negative.  Fails for what is not
 *  finite. */
TOV_PLAYOUT_API int PeTransportSetStartTime(PeTransport transport, double time);

/** The position that is heard: the start time until the first sample is heard,
 *  never more than what was pulled, never less than before in the same start.
 *  After a stop, where it stood then; before the first start, the start
 *  time. */
TOV_PLAYOUT_API int PeTransportGetCurrentTime(PeTransport transport, double* time);

/** *playing is 1 from start to stop, or until the device is lost, else 0. */
TOV_PLAYOUT_API int PeTransportIsPlaying(PeTransport transport, unsigned char* playing);

/** The overall level: one parameter, the volume, and the meters behind it. */
TOV_PLAYOUT_API int PeMixerGetOverallLevelModule(PeMixer mixer, PeModule* module);

TOV_PLAYOUT_API int PeModuleCountParameters(PeModule module, int* count);
TOV_PLAYOUT_API int PeModuleGetIndexedParameter(PeModule module, int index, PeParameter* parameter);

/** The range of a parameter.  The volume is a factor from 0 to 1.  The last
 *  two outputs, the default and the smallest step (0: continuous), may be
 *  null. */
TOV_PLAYOUT_API int PeParameterGetRangeInfo(PeParameter parameter, float* minimum, float* maximum,
                                            float* defaultValue, float* step);

TOV_PLAYOUT_API int PeParameterGetCurrentValue(PeParameter parameter, float* value);

/** Sets the parameter; a playing volume moves to its new value in a straight
 *  line over 10 ms.  Fails for what is out of range or not a number. */
TOV_PLAYOUT_API int PeParameterSetCurrentValue(PeParameter parameter, float value);

/** Switches the module's meters on; they stay on. */
TOV_PLAYOUT_API int PeModuleEnableMetering(PeModule module);

/** What a peak meter (instant attack, 20 dB per second fall) that was at 0
 *  when @p from was heard shows when @p to is heard, linear, behind the
 *  volume: levels[i] for channel i < *count.  *count is the number of levels
 *  asked for, and becomes how many there are, at most the track's channels.
 *
 *  Spans belong to the present start of the transport, or to the last one
 *  after a stop: what lies before its start time counts as the start time,
 *  what lies behind what was pulled as that, and a @p from that lies behind
 *  @p to (a caller that came before the transport was started again further
 *  back) as the start time as well.  Before the first start, after a reset
 *  and without metering the levels are 0.  Levels are kept in steps of 1024
 *  samples, the last three hours of them; the steps in which a span begins and
 *  ends count whole.  Fails for times that are not finite. */
TOV_PLAYOUT_API int PeModuleGetPastMeterValues(PeModule module, double from, double to, int* count,
                                               float* levels);

} // extern "C"

#pragma once

#include <cubeb/cubeb.h>

/** The device library's functions.
 *
 *  Where the system has a way to, the library is loaded when it is first
 *  needed: it brings some thirty others along, 4 MB and 3 ms that a program
 *  which only renders is not to pay for.  It then need not be installed
 *  either.  Once loaded it stays.
 */
struct CubebLibrary {
  decltype(&::cubeb_init) init;
  decltype(&::cubeb_destroy) destroy;
  decltype(&::cubeb_get_backend_id) getBackendId;
  decltype(&::cubeb_get_min_latency) getMinLatency;
  decltype(&::cubeb_enumerate_devices) enumerateDevices;
  decltype(&::cubeb_device_collection_destroy) deviceCollectionDestroy;
  decltype(&::cubeb_stream_init) streamInit;
  decltype(&::cubeb_stream_destroy) streamDestroy;
  decltype(&::cubeb_stream_start) streamStart;
  decltype(&::cubeb_stream_stop) streamStop;
  decltype(&::cubeb_stream_get_position) streamGetPosition;

  /** Null where the library, or one of the functions, is not there.  Any
   *  thread; blocks at the first call. */
  static const CubebLibrary* get();
};

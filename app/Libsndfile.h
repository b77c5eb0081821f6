#pragma once

#include <sndfile.h>

/** The functions of libsndfile that reading takes, by their names without
 *  "sf_". */
struct Libsndfile {
  decltype(&sf_close) close;
  decltype(&sf_command) command;
  decltype(&sf_open_virtual) open_virtual;
  decltype(&sf_readf_float) readf_float;
  decltype(&sf_seek) seek;
  decltype(&sf_strerror) strerror;
};

/** Loads libsndfile at the first call; null where it is not there.  Any
 *  thread. */
const Libsndfile* libsndfile();

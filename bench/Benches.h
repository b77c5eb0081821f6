#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bench/OurProcess.h"
#include "bench/Report.h"

/** What all benches of one run go by. */
struct Run {
  bool isQuick;                                  ///< fewer repetitions and shorter sounds
  std::string folder;                            ///< for the sounds that are read and written
  std::string pictures;                          ///< for the pictures
  std::string tov;                               ///< the program
  std::vector<std::unique_ptr<OurProcess>> ours; ///< one per set of kernels, "plain" last

  int repetitions(int usual) const { return isQuick ? (usual + 2) / 3 : usual; }
};

Section benchDecoding(Run& run);
Section benchEncoding(Run& run);

/** One after the other: one channel and two at once in long buffers, short
 *  requests, and the table of qualities. */
std::vector<Section> benchResampling(Run& run);

Section benchMixing(Run& run);
Section benchCallback(Run& run);
Section drawCurves(Run& run);

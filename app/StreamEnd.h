#pragma once

#include <string>

/** Why a compressed stream does not go to its end, phrased to follow its name
 *  and a colon: an Ogg file without its last page, an MP3 file shorter than
 *  its Xing header says.  Empty where it does, where the stream does not say,
 *  and for other files. */
std::string whyStreamCutShort(const std::string& path);

/** Whether an MP3 file says how many frames it holds.  Where none does, its
 *  length is only known once it is decoded. */
bool hasStatedMpegLength(const std::string& path);

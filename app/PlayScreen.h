#pragma once

#include <string>

#include "app/PlayStatus.h"

/** One line of at most @p width ASCII characters.  Where that is too narrow,
 *  what matters least is left out first:
 *
 *      playing      0:12.345  00:00:12:08  -0:47.655  L [====    |   ] -12.3 ...
 */
std::string statusLine(const PlayStatus& status, int width);

/** The same without bars and at whatever length it takes. */
std::string statusText(const PlayStatus& status);

/** The same as a JSON object of this kind of event, on one line. */
std::string statusJson(const PlayStatus& status, const std::string& event);

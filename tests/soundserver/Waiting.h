#pragma once

#include <functional>

/** Asks @p condition every few milliseconds until it holds; false where it
 *  does not within half a minute, which is far beyond what anything here
 *  takes. */
bool holdsSoon(const std::function<bool()>& condition);

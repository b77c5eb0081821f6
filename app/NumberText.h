#pragma once

#include <optional>
#include <string>

/** The number that the whole text is, whatever the locale: digits with an
 *  optional sign, point and exponent; nothing where it is no finite number. */
std::optional<double> numberOf(const std::string& text);

/** The whole number that the whole text is; nothing where it is none. */
std::optional<long long> wholeNumberOf(const std::string& text);

/** The number with the fewest digits that this float is nearest to: what the
 *  user wrote, where it came from there. */
double decimalOf(float value);

/** A number without superfluous digits: "0.5", "48000". */
std::string shortNumber(double value);

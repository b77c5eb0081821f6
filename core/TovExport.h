#pragma once

/** Symbols that a host may use.
 *
 *  #TOV_API marks what the library itself (target `tov`) exports;
 *  #TOV_HOSTCORE_API marks what the host core services (target
 *  `tovhostcore`, or the program that replaces them) define.  Everything
 *  without a mark is hidden.
 */
#if defined(_WIN32) && !defined(TOV_STATIC)
#  if defined(TOV_BUILDING)
#    define TOV_API __declspec(dllexport)
#  else
#    define TOV_API __declspec(dllimport)
#  endif
#  if defined(TOV_BUILDING_HOSTCORE)
#    define TOV_HOSTCORE_API __declspec(dllexport)
#  else
#    define TOV_HOSTCORE_API __declspec(dllimport)
#  endif
#elif defined(_WIN32)
#  define TOV_API
#  define TOV_HOSTCORE_API
#else
#  define TOV_API __attribute__((visibility("default")))
#  define TOV_HOSTCORE_API __attribute__((visibility("default")))
#endif

/** Lets the compiler check the arguments of a printf-style function. */
#if defined(__GNUC__)
#  define TOV_PRINTF_FORMAT(formatIndex, firstArgument)                                            \
    __attribute__((format(printf, formatIndex, firstArgument)))
#else
#  define TOV_PRINTF_FORMAT(formatIndex, firstArgument)
#endif

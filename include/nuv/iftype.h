/// \file
/// Interface type codes and their display names.
#pragma once

#include <nuv/export.h>

/// Not a back-end's type: marks a free slot of the registry's user counts.
constexpr unsigned short NUV_IFTYPE_UNDEFINED = 0;
constexpr unsigned short NUV_IFTYPE_GIGE = 5;        ///< GigE
constexpr unsigned short NUV_IFTYPE_USB2 = 6;        ///< USB 2
constexpr unsigned short NUV_IFTYPE_ME4 = 7;         ///< Camera Link, ME4 frame grabber
constexpr unsigned short NUV_IFTYPE_USB3 = 8;        ///< USB 3
constexpr unsigned short NUV_IFTYPE_CLHS_ME5 = 12;   ///< Camera Link HS, ME5 frame grabber
constexpr unsigned short NUV_IFTYPE_CLHS_KAYA = 13;  ///< Camera Link HS, Kaya frame grabber

/// Number of codes that have a display name: 0 to 15.
constexpr unsigned int NUV_IFTYPE_COUNT = 16;
/// Bytes of a display name with its padding.
constexpr unsigned int NUV_IFTYPE_NAME_SIZE = 64;

/// Display names, indexed by interface type code, each padded with NUL bytes to its slot.
/// A code of `NUV_IFTYPE_COUNT` or more has none: check before indexing.
extern NUV_EXPORT const char iftype_names[NUV_IFTYPE_COUNT][NUV_IFTYPE_NAME_SIZE];

/// \file
/// Result codes of the library. Every operation that answers with a result code has one of these
/// or, where a back-end or the INI locator was asked, that one's own code unchanged.
#pragma once

/// Success.
constexpr unsigned int NUV_NOERROR = 0;

/// The registry cannot be created, opened, sized or mapped, its semaphores cannot be initialised,
/// its version is wrong, the object is not attached, no free device entry is left, memory ran out,
/// or a back-end threw.
constexpr unsigned int NUV_ERROR_NOMEMORY = 0xA0002003;

/// The INI file cannot be opened or parsed.
constexpr unsigned int NUV_ERROR_INI_LOAD = 0xA0002004;

/// The device manager has no INI locator.
constexpr unsigned int NUV_ERROR_NO_INI_LOCATOR = 0xA0002007;

/// No device in use with that key, a list index out of range, no back-end for the interface type,
/// a handle that was never recorded, or a null address.
constexpr unsigned int NUV_ERROR_NOT_FOUND = 0x80002001;

/// A background thread cannot be created, or has no registry to work on.
constexpr unsigned int NUV_ERROR_THREAD = 0x80002020;

/// `Initialize` on an object that has been initialised before, or the first probe of the registry
/// failed for another reason than its absence.
constexpr unsigned int NUV_ERROR_INIT = 0x80003005;

/// Attached, but the registry's heartbeat was stale and the registry was cleared. The device
/// manager treats it as success.
constexpr unsigned int NUV_DIFFTIME_OUT = 0xC0003005;

/// 16-bit result of the operations that count the users of an interface type: not attached.
constexpr unsigned short NUV_COUNT_NOT_ATTACHED = 0xFFFF;

/// \file
/// General bits, interface option bits and log levels.
#pragma once

// General bits, taken by `set_general_bits` of every class.

/// Device manager: `Initialize` starts no scan thread (INI key "Scan").
constexpr unsigned int NUV_BIT_SCAN_OFF = 0x00000001;
/// A registry manager that creates the region gives it to group "video" with mode 0664.
constexpr unsigned int DEFAULT_GROUP_VIDEO = 0x00010000;
/// The registry was stale when the device manager attached, and was cleared.
constexpr unsigned int NUV_BIT_DIFFTIME_OUT = 0x01000000;
/// `CNuv_sem_access` writes its log.
constexpr unsigned int NUV_BIT_LOG_SEM_ACCESS = 0x10000000;
/// `CNuv_shm_manager` writes its log.
constexpr unsigned int NUV_BIT_LOG_SHM_MANAGER = 0x20000000;
/// `CNuv_interface` writes its log to `clog`.
constexpr unsigned int NUV_BIT_LOG_INTERFACE = 0x40000000;
/// `CNuv_device_manager` writes its log to `clog` when it has no log of its own.
constexpr unsigned int NUV_BIT_LOG_DEVICE_MANAGER = 0x80000000;
/// The general bits of the device manager that reach the back-ends.
constexpr unsigned int NUV_BITS_FOR_BACKENDS = 0xFF000000;

// Bits of a device manager's interface option words, one word for each interface type.

/// `Initialize` does not create the back-end of this type.
constexpr unsigned int DEVMGR_IF_OPTION_DISABLE = 0x1;
/// The scan thread skips this type.
constexpr unsigned int DEVMGR_IF_OPTION_DISABLE_SCAN = 0x2;

// Log levels, handed to the log unchanged; the log decides which of them it writes. The four log
// bits above are also the source words by which a log tells the classes apart.

/// Failures and refusals.
constexpr unsigned int NUV_LOG_ERROR = 0x1;
/// Ordinary trace of every operation.
constexpr unsigned int NUV_LOG_TRACE = 0x2;
/// Start and end of a background thread.
constexpr unsigned int NUV_LOG_THREAD = 0x8;
/// What a background thread writes in every cycle, the heartbeat included.
constexpr unsigned int NUV_LOG_CYCLE = 0x80000;

/// \file
/// The device record: an entry of the shared registry, and the copy that a caller holds.
#pragma once

#include <cstddef>
#include <cstdint>

/// Length of a name, terminating NUL included. Names read from the registry may lack the NUL
/// when another process wrote them: bound every use to this length.
constexpr std::size_t NUV_NAME_SIZE = 64;

// `status_bits`: how the registry interprets them, and how the kit's own back-ends use them.

/// The camera is there.
constexpr std::uint32_t NUV_STATUS_PRESENT = 0x1;
/// Its grabber is open.
constexpr std::uint32_t NUV_STATUS_GRAB_OPEN = 0x4;
/// Its communication device is open.
constexpr std::uint32_t NUV_STATUS_COM_OPEN = 0x8;
/// The two bits that decide whether an entry is unused: present, grabber not open.
constexpr std::uint32_t NUV_STATUS_UNUSED_MASK = NUV_STATUS_PRESENT | NUV_STATUS_GRAB_OPEN;

/// `entry_mark` of every entry of a newly created region.
constexpr std::uint16_t NUV_ENTRY_MARK = 0x0100;

/// One camera. The bytes are a contract between processes built at different times: packed,
/// native byte order, never reordered. Fields are unaligned; take copies, not pointers.
struct __attribute__((packed)) NUV_Device {
    std::uint16_t entry_mark;        ///< NUV_ENTRY_MARK after creation; the registry never reads it
    unsigned char backend_data[8];   ///< the back-end's own
    std::uint32_t status_bits;       ///< 0: the entry holds no device
    std::uint32_t id;                ///< registry id; 0 in a free entry
    std::uint32_t serialnumber;      ///< 0 in a free entry
    std::uint64_t extended_info;     ///< the back-end's own key; survives the entry's deletion
    std::uint16_t backend_word_a;    ///< the back-end's own
    std::uint16_t backend_word_b;    ///< the back-end's own
    std::uint16_t nuv_iftype;        ///< interface type code of the back-end that owns the entry
    char cameraname[NUV_NAME_SIZE];  ///< for people to read
    char interfacename[NUV_NAME_SIZE];  ///< how the camera is connected, for people to read
};

static_assert(sizeof(NUV_Device) == 164 && alignof(NUV_Device) == 1);
static_assert(offsetof(NUV_Device, entry_mark) == 0);
static_assert(offsetof(NUV_Device, backend_data) == 2);
static_assert(offsetof(NUV_Device, status_bits) == 10);
static_assert(offsetof(NUV_Device, id) == 14);
static_assert(offsetof(NUV_Device, serialnumber) == 18);
static_assert(offsetof(NUV_Device, extended_info) == 22);
static_assert(offsetof(NUV_Device, backend_word_a) == 30);
static_assert(offsetof(NUV_Device, backend_word_b) == 32);
static_assert(offsetof(NUV_Device, nuv_iftype) == 34);
static_assert(offsetof(NUV_Device, cameraname) == 36);
static_assert(offsetof(NUV_Device, interfacename) == 100);

// The inventory of bench cameras: cameras that exist in an INI file only.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace nuvkit {

// The file, `nuv_cameras.ini`, is looked for as every INI file of the kit, and read again at each
// scan, open and close: editing it plugs, unplugs and renames cameras. Write a new version beside
// it and rename that over it, or a scan may see half of it. No file: no cameras.
//
// Section and key names count in any case. Numbers are decimal, 0x... or 0...; times are in
// milliseconds, up to 600000. Codes are what the operation answers instead of 0, without having
// done anything. Switches: yes, no, on, off, true, false, 1, 0, in any case.
//
// A section `[backend TYPE]` is about a back-end:
//
// | Key                 | Meaning                                              | Without the key |
// |---------------------|------------------------------------------------------|-----------------|
// | initialize_result   | code that `initialize` answers                       | 0               |
// | initialize_delay_ms | how long that takes                                  | 0               |
// | scan_result         | code that looking for cameras answers                | 0               |
// | scan_delay_ms       | how long that takes                                  | 0               |
//
// Any other section is a camera, known by the section's name and its serial number (which two
// cameras may share): change either and it is another camera.
//
// | Key                 | Meaning                                              | Without the key |
// |---------------------|------------------------------------------------------|-----------------|
// | interface           | TYPE: USB2, USB3, ME4, CLHS_SISO, CLHS_KAYA or GIGE  | not understood  |
// | serial              | serial number, 1 to 4294967295                       | not understood  |
// | name                | camera name, 63 bytes of it                          | section's name  |
// | interface_name      | interface name, 63 bytes of it                       | that of TYPE    |
// | plugged             | switch: whether the camera is there                  | yes             |
// | open_result         | code that opening the grabber or the communication   | 0               |
// |                     | device answers                                       |                 |
// | open_delay_ms       | how long that takes                                  | 0               |
// | close_result        | code that closing them answers                       | 0               |
// | close_delay_ms      | how long that takes                                  | 0               |
//
// A section that is not understood (a key missing, a value that is none) is left out whole, and a
// key that is not known is ignored; either is remarked upon.

struct Bench_camera {
    std::uint64_t key = 0;
    std::uint16_t iftype = 0;
    bool plugged = true;
    std::uint32_t serialnumber = 0;
    std::string name;
    std::string interfacename;  ///< empty: that of the type
    std::uint32_t open_result = 0;
    std::uint32_t open_delay_ms = 0;
    std::uint32_t close_result = 0;
    std::uint32_t close_delay_ms = 0;
};

struct Bench_backend {
    std::uint32_t initialize_result = 0;
    std::uint32_t initialize_delay_ms = 0;
    std::uint32_t scan_result = 0;
    std::uint32_t scan_delay_ms = 0;
};

struct Bench_inventory {
    std::vector<Bench_camera> cameras;
    std::map<std::uint16_t, Bench_backend> backends;  ///< by interface type
    std::vector<std::string> remarks;                 ///< what was not understood
};

/// Understands any text: depends on nothing else, and throws only when memory runs out.
Bench_inventory parse_bench_inventory(std::string_view text);

}  // namespace nuvkit

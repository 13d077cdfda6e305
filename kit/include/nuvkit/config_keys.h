/// \file
/// Every key of the device manager's INI file: the one table that those go by who read the file,
/// explain it, or look for mistakes in it.
#pragma once

#include <cstddef>
#include <limits>

namespace nuvkit {

/// The keys, in the order in which they are read.
enum class Key : std::size_t {
    usb,
    usb3,
    me4,
    clhs_siso,
    clhs_kaya,
    gige,
    usb_scan,
    usb3_scan,
    clhs_siso_scan,
    clhs_kaya_scan,
    gige_scan,
    general_bits,
    scan,
    scantime,
    difftime,
    log_level,
    log_sources,
    log_interfaces,
    log_file,
    log_console,
    log_max_size,
    log_max_files,
    COUNT
};

/// How a value is read.
enum class Value_kind {
    on_off,  ///< see `read_switch`
    number,  ///< see `read_number`
    bits,    ///< a number too; people read it in hexadecimal
    text,    ///< as it stands
};

/// A row of the table.
struct Config_key {
    Key key;              ///< its own place in the table
    const char* section;  ///< without brackets
    const char* name;     ///< as people write it; case does not matter
    Value_kind kind;      ///< how its value is read
    /// The value without the key; of a switch 1 or 0. A text is empty then.
    unsigned long fallback;
    /// A number outside is not used as it stands.
    unsigned long least;
    unsigned long most;   ///< as `least`
    const char* unit;     ///< of a number; empty when it has none
    const char* meaning;  ///< in a few words, for the operator
};

namespace config_limits {
/// The largest value of a 32-bit word.
constexpr unsigned long word = 0xFFFFFFFF;
/// No limit.
constexpr unsigned long none = std::numeric_limits<unsigned long>::max();
}  // namespace config_limits

/// The table.
// clang-format off
inline constexpr Config_key config_keys[] = {
    {Key::usb, "INTERFACES", "USB", Value_kind::on_off, 1, 0, 1, "",
     "use USB 2 cameras"},
    {Key::usb3, "INTERFACES", "USB3", Value_kind::on_off, 1, 0, 1, "",
     "use USB 3 cameras"},
    {Key::me4, "INTERFACES", "ME4", Value_kind::on_off, 1, 0, 1, "",
     "use Camera Link ME4 cameras (never scanned by itself)"},
    {Key::clhs_siso, "INTERFACES", "CLHS_SISO", Value_kind::on_off, 1, 0, 1, "",
     "use Camera Link HS ME5 cameras"},
    {Key::clhs_kaya, "INTERFACES", "CLHS_KAYA", Value_kind::on_off, 1, 0, 1, "",
     "use Camera Link HS Kaya cameras"},
    {Key::gige, "INTERFACES", "GIGE", Value_kind::on_off, 1, 0, 1, "",
     "use GigE cameras"},
    {Key::usb_scan, "INTERFACES", "USB_SCAN", Value_kind::on_off, 1, 0, 1, "",
     "scan for USB 2 cameras"},
    {Key::usb3_scan, "INTERFACES", "USB3_SCAN", Value_kind::on_off, 1, 0, 1, "",
     "scan for USB 3 cameras"},
    {Key::clhs_siso_scan, "INTERFACES", "CLHS_SISO_SCAN", Value_kind::on_off, 1, 0, 1, "",
     "scan for Camera Link HS ME5 cameras"},
    {Key::clhs_kaya_scan, "INTERFACES", "CLHS_KAYA_SCAN", Value_kind::on_off, 1, 0, 1, "",
     "scan for Camera Link HS Kaya cameras"},
    {Key::gige_scan, "INTERFACES", "GIGE_SCAN", Value_kind::on_off, 1, 0, 1, "",
     "scan for GigE cameras"},
    {Key::general_bits, "OPTIONS", "General_Bits", Value_kind::bits, 0, 0, config_limits::word, "",
     "0x1 no scan, 0x10000 registry for group video, 0xF0000000 log"},
    {Key::scan, "OPTIONS", "Scan", Value_kind::on_off, 1, 0, 1, "",
     "scan at all, whatever General_Bits says"},
    {Key::scantime, "OPTIONS", "Scantime", Value_kind::number, 5000, 500, 3600000, "ms",
     "time between two scans"},
    {Key::difftime, "OPTIONS", "Difftime", Value_kind::number, 10, 0, config_limits::none, "s",
     "a heartbeat thread runs beside scans rarer than a quarter of this"},
    {Key::log_level, "LOG", "Level", Value_kind::bits, 0x9, 0, config_limits::word, "",
     "0x1 failures, 0x2 trace, 0x8 threads, 0x80000 cycles; 0 no log"},
    {Key::log_sources, "LOG", "Sources", Value_kind::bits, 0xF0000000, 0, config_limits::word, "",
     "classes that are logged, by the last four general bits"},
    {Key::log_interfaces, "LOG", "Interfaces", Value_kind::bits, 0xFFFFFFFF, 0, config_limits::word,
     "", "back-ends that are logged, bit n for interface type n"},
    {Key::log_file, "LOG", "File", Value_kind::text, 0, 0, 0, "",
     "file, %p stands for the process id; several processes need it"},
    {Key::log_console, "LOG", "Console", Value_kind::on_off, 0, 0, 1, "",
     "also log to standard error"},
    {Key::log_max_size, "LOG", "MaxSize", Value_kind::number, 10485760, 0, config_limits::none,
     "bytes", "size at which the file is renamed; 0 never"},
    {Key::log_max_files, "LOG", "MaxFiles", Value_kind::number, 5, 0, 1000, "",
     "how many renamed files are kept"},
};
// clang-format on

/// The row of a key.
constexpr const Config_key& definition_of(Key key) {
    return config_keys[static_cast<std::size_t>(key)];
}

/// Whether the rows stand in the order of the keys.
constexpr bool each_key_has_its_row() {
    std::size_t row = 0;
    for (const Config_key& definition : config_keys) {
        if (static_cast<std::size_t>(definition.key) != row++) {
            return false;
        }
    }
    return row == static_cast<std::size_t>(Key::COUNT);
}
static_assert(each_key_has_its_row());

}  // namespace nuvkit

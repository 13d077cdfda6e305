#include "bench_inventory.h"

#include <nuv/iftype.h>

#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <optional>

#define SI_NO_CONVERSION
#define SI_IMPLEMENTATION
#include <SimpleIni.h>

namespace nuvkit {
namespace {

constexpr std::uint32_t any_code = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint32_t longest_delay_ms = 600000;
constexpr std::string_view backend_prefix = "backend ";

struct Type_word {
    const char* word;
    std::uint16_t iftype;
};
constexpr Type_word type_words[] = {
    {"USB2", NUV_IFTYPE_USB2},
    {"USB3", NUV_IFTYPE_USB3},
    {"ME4", NUV_IFTYPE_ME4},
    {"CLHS_SISO", NUV_IFTYPE_CLHS_ME5},
    {"CLHS_KAYA", NUV_IFTYPE_CLHS_KAYA},
    {"GIGE", NUV_IFTYPE_GIGE},
};

template <class Record>
struct Number_key {
    const char* key;
    std::uint32_t Record::*target;
    std::uint32_t highest;
};
constexpr Number_key<Bench_camera> camera_numbers[] = {
    {"serial", &Bench_camera::serialnumber, any_code},
    {"open_result", &Bench_camera::open_result, any_code},
    {"open_delay_ms", &Bench_camera::open_delay_ms, longest_delay_ms},
    {"close_result", &Bench_camera::close_result, any_code},
    {"close_delay_ms", &Bench_camera::close_delay_ms, longest_delay_ms},
};
constexpr Number_key<Bench_backend> backend_numbers[] = {
    {"initialize_result", &Bench_backend::initialize_result, any_code},
    {"initialize_delay_ms", &Bench_backend::initialize_delay_ms, longest_delay_ms},
    {"scan_result", &Bench_backend::scan_result, any_code},
    {"scan_delay_ms", &Bench_backend::scan_delay_ms, longest_delay_ms},
};

bool same_word(std::string_view a, std::string_view b) {
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

std::optional<std::uint16_t> iftype_of(std::string_view word) {
    for (const Type_word& type : type_words) {
        if (same_word(word, type.word)) {
            return type.iftype;
        }
    }
    return std::nullopt;
}

std::optional<std::uint32_t> number_of(const char* value, std::uint32_t highest) {
    if (*value < '0' || *value > '9') {
        return std::nullopt;
    }
    char* end = nullptr;
    errno = 0;
    const unsigned long long number = std::strtoull(value, &end, 0);
    if (errno != 0 || *end != '\0' || number > highest) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(number);
}

std::optional<bool> switch_of(std::string_view word) {
    for (const char* on : {"yes", "on", "true", "1"}) {
        if (same_word(word, on)) {
            return true;
        }
    }
    for (const char* off : {"no", "off", "false", "0"}) {
        if (same_word(word, off)) {
            return false;
        }
    }
    return std::nullopt;
}

// 64-bit FNV-1a, of the section's name as it compares and of the serial number.
std::uint64_t key_of(std::string_view section, std::uint32_t serialnumber) {
    constexpr std::uint64_t prime = 0x100000001B3;
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char byte : section) {
        const bool upper = byte >= 'A' && byte <= 'Z';
        hash = (hash ^ static_cast<unsigned char>(upper ? byte - 'A' + 'a' : byte)) * prime;
    }
    for (int shift = 0; shift < 32; shift += 8) {
        hash = (hash ^ (serialnumber >> shift & 0xFF)) * prime;
    }
    return hash;
}

/// Reads one section; remarks name it.
class Section_reader {
public:
    Section_reader(const CSimpleIniA& ini_file, const char* section_name, Bench_inventory& into)
        : ini(ini_file), section(section_name), inventory(into) {}

    void read() {
        const std::string_view name = section;
        if (name.empty()) {
            remark("keys stand outside any section");
            return;
        }
        const bool backend = same_word(name.substr(0, backend_prefix.size()), backend_prefix);
        const bool understood =
            backend ? read_backend(name.substr(backend_prefix.size())) : read_camera();
        if (!understood) {
            remark("left out");
        }
    }

private:
    bool read_backend(std::string_view word) {
        const auto iftype = iftype_of(word);
        if (!iftype) {
            remark("is no interface type");
            return false;
        }
        Bench_backend backend;
        if (!read_numbers(backend_numbers, backend)) {
            return false;
        }
        remark_unknown_keys(backend_numbers, {});
        inventory.backends[*iftype] = backend;
        return true;
    }

    bool read_camera() {
        Bench_camera camera;
        if (!read_interface(camera) || !read_numbers(camera_numbers, camera) ||
            !read_plugged(camera)) {
            return false;
        }
        if (camera.serialnumber == 0) {
            remark("serial is missing or 0");
            return false;
        }
        camera.key = key_of(section, camera.serialnumber);
        camera.name = ini.GetValue(section, "name", section);
        camera.interfacename = ini.GetValue(section, "interface_name", "");
        remark_unknown_keys(camera_numbers, {"interface", "name", "interface_name", "plugged"});
        inventory.cameras.push_back(std::move(camera));
        return true;
    }

    bool read_interface(Bench_camera& camera) {
        const auto iftype = iftype_of(ini.GetValue(section, "interface", ""));
        if (!iftype) {
            remark("interface is missing or none of USB2, USB3, ME4, CLHS_SISO, CLHS_KAYA, GIGE");
            return false;
        }
        camera.iftype = *iftype;
        return true;
    }

    bool read_plugged(Bench_camera& camera) {
        const auto plugged = switch_of(ini.GetValue(section, "plugged", "yes"));
        if (!plugged) {
            remark("plugged is neither yes nor no");
            return false;
        }
        camera.plugged = *plugged;
        return true;
    }

    template <class Record, std::size_t count>
    bool read_numbers(const Number_key<Record> (&keys)[count], Record& record) {
        for (const Number_key<Record>& entry : keys) {
            const char* value = ini.GetValue(section, entry.key);
            if (value == nullptr) {
                continue;
            }
            const auto number = number_of(value, entry.highest);
            if (!number) {
                remark(std::string(entry.key) + " is no number from 0 to " +
                       std::to_string(entry.highest));
                return false;
            }
            record.*entry.target = *number;
        }
        return true;
    }

    template <class Record, std::size_t count>
    void remark_unknown_keys(const Number_key<Record> (&numbers)[count],
                             std::initializer_list<std::string_view> words) {
        CSimpleIniA::TNamesDepend keys;
        ini.GetAllKeys(section, keys);
        for (const CSimpleIniA::Entry& entry : keys) {
            const std::string_view key = entry.pItem;
            const bool known =
                std::any_of(std::begin(numbers), std::end(numbers),
                            [&](const auto& number) { return same_word(key, number.key); }) ||
                std::any_of(words.begin(), words.end(),
                            [&](std::string_view word) { return same_word(key, word); });
            if (!known) {
                remark("key " + std::string(key) + " is not known");
            }
        }
    }

    void remark(const std::string& what) {
        inventory.remarks.push_back("[" + std::string(section) + "] " + what);
    }

    const CSimpleIniA& ini;
    const char* const section;
    Bench_inventory& inventory;
};

}  // namespace

Bench_inventory parse_bench_inventory(std::string_view text) {
    Bench_inventory inventory;
    CSimpleIniA ini;
    if (ini.LoadData(text.data(), text.size()) < 0) {
        inventory.remarks.emplace_back("is no INI text");
        return inventory;
    }
    CSimpleIniA::TNamesDepend sections;
    ini.GetAllSections(sections);
    sections.sort(CSimpleIniA::Entry::LoadOrder());
    for (const CSimpleIniA::Entry& section : sections) {
        Section_reader(ini, section.pItem, inventory).read();
    }
    return inventory;
}

}  // namespace nuvkit

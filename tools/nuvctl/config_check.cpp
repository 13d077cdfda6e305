#include "config_check.h"

#include "registry_view.h"
#include "safe_text.h"

#include <nuv/bits.h>

#include <nuvkit/config_values.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <iterator>

namespace nuvctl {
namespace {

using nuvkit::Config_key;
using nuvkit::Key;
using nuvkit::Value_kind;
using Kind = Config_line::Kind;

std::string quoted(const std::string& text) {
    return "\"" + safe_text(text) + "\"";
}

std::string name_of(const Config_key& key) {
    return std::string("[") + key.section + "] " + key.name;
}

bool is_known_section(const std::string& section) {
    return std::any_of(std::begin(nuvkit::config_keys), std::end(nuvkit::config_keys),
                       [&](const Config_key& key) { return same_word(section, key.section); });
}

/// The key of that name in the section, or in any section when that is null.
const Config_key* find_key(const std::string* section, const std::string& name) {
    for (const Config_key& key : nuvkit::config_keys) {
        if (same_word(name, key.name) && (section == nullptr || same_word(*section, key.section))) {
            return &key;
        }
    }
    return nullptr;
}

std::string unknown_key(const Config_line& line) {
    const Config_key* elsewhere = find_key(nullptr, line.key);
    const std::string hint =
        elsewhere != nullptr ? std::string("; it belongs to [") + elsewhere->section + "]" : "";
    const std::string place = !line.section           ? "below a section that was not understood"
                              : line.section->empty() ? "before any section"
                                                      : "in [" + safe_text(*line.section) + "]";
    return "key " + quoted(line.key) + " is not known " + place + hint;
}

/// A comment's sign at the value's beginning or behind white space.
bool has_comment(const std::string& value) {
    for (std::size_t i = 0; i < value.size(); ++i) {
        const bool sign = value[i] == ';' || value[i] == '#';
        if (sign && (i == 0 || value[i - 1] == ' ' || value[i - 1] == '\t')) {
            return true;
        }
    }
    return false;
}

struct Number_text {
    bool has_digits = false;
    bool is_whole = false;  ///< nothing behind the digits
    bool fits = false;
};

Number_text look_at_number(const std::string& value) {
    char* end = nullptr;
    errno = 0;
    std::strtoul(value.c_str(), &end, 0);
    const bool negative = value.find('-') < static_cast<std::size_t>(end - value.c_str());
    return {end != value.c_str(), *end == '\0', errno == 0 && !negative};
}

bool is_plain_switch(const std::string& value) {
    for (const char* word : {"ena", "enable", "enabled", "dis", "disable", "disabled"}) {
        if (value == word) {
            return true;
        }
    }
    const Number_text number = look_at_number(value);
    return number.has_digits && number.is_whole && number.fits;
}

std::string odd_number(const Config_key& key, const std::string& value, const Setting& read) {
    const Number_text text = look_at_number(value);
    if (!text.has_digits) {
        const bool limited = key.least > 0;
        return "is no number and reads as 0" + (limited ? ", so as " + read.value_text() : "");
    }
    const unsigned long number = nuvkit::read_number(value.c_str());
    if (!text.fits || number < key.least || number > key.most) {
        return "is out of range (" + std::to_string(key.least) + " to " + std::to_string(key.most) +
               ") and reads as " + read.value_text();
    }
    return text.is_whole ? "" : "reads as " + read.value_text() + "; the rest is ignored";
}

/// Empty when the value says what it seems to say.
std::string odd_value(const Config_key& key, const std::string& value) {
    const Setting read{&key, value, 0};
    const std::string start = name_of(key) + " = " + quoted(value) + " ";
    if (has_comment(value)) {
        return start + "reads as " + read.value_text() +
               ": a comment behind a value belongs to the value";
    }
    std::string odd;
    if (key.kind == Value_kind::on_off && !is_plain_switch(value)) {
        odd = "reads as " + read.value_text() + ": write enabled or disabled";
    } else if (key.kind == Value_kind::number || key.kind == Value_kind::bits) {
        odd = odd_number(key, value, read);
    }
    return odd.empty() ? "" : start + odd;
}

void remark_on_entry(const Config_file& file, const Config_line& line,
                     std::vector<Config_remark>& remarks) {
    if (line.section && !line.section->empty() && !is_known_section(*line.section)) {
        return;  // the section's own line was remarked upon
    }
    const Config_key* key = line.section ? find_key(&*line.section, line.key) : nullptr;
    if (key == nullptr) {
        remarks.push_back({line.number, unknown_key(line)});
        return;
    }
    const int last = file.setting(key->key).line;
    if (last > line.number) {
        remarks.push_back({line.number, name_of(*key) + " is given again in line " +
                                            std::to_string(last) + ", which wins"});
    } else if (const std::string odd = odd_value(*key, line.value); !odd.empty()) {
        remarks.push_back({line.number, odd});
    }
}

void remark_on_line(const Config_file& file, const Config_line& line,
                    std::vector<Config_remark>& remarks) {
    switch (line.kind) {
        case Kind::broken:
            remarks.push_back(
                {line.number, quoted(line.text) + " is neither [section] nor key = value"});
            break;
        case Kind::section:
            if (!is_known_section(*line.section)) {
                remarks.push_back({line.number, "section [" + safe_text(*line.section) +
                                                    "] is not known; nothing in it is read"});
            }
            break;
        case Kind::entry:
            remark_on_entry(file, line, remarks);
            break;
    }
}

/// The scan thread alone beats once a period and a scan: a period of the tolerance is too long
/// already. The sum wraps around as the manager's does.
void remark_on_heartbeat(const Config_file& file, std::vector<Config_remark>& remarks) {
    const std::uint64_t period = file.setting(Key::scantime).used();
    const std::uint64_t difftime = file.setting(Key::difftime).number();
    const Setting& scan = file.setting(Key::scan);
    const unsigned long bits = file.setting(Key::general_bits).number();
    const bool scans = scan.text ? scan.number() != 0 : (bits & NUV_BIT_SCAN_OFF) == 0;
    const bool heartbeat_thread_runs = !scans || period > std::uint64_t{250} * difftime;
    if (!heartbeat_thread_runs && period >= 1000 * NUV_SHM_DIFFTIME) {
        Config_remark remark{
            file.setting(Key::difftime).line,
            "a scan each " + std::to_string(period) + " ms is the only heartbeat, as Difftime is " +
                std::to_string(difftime) + " s: others find the registry stale after " +
                std::to_string(NUV_SHM_DIFFTIME) +
                " s and clear it; leave Difftime at 10 or Scantime below 10000"};
        remark.starves_heartbeat = true;
        remarks.push_back(remark);
    }
}

}  // namespace

std::string remark_text(const Config_file& file, const Config_remark& remark) {
    return safe_text(file.path) + (remark.line != 0 ? ":" + std::to_string(remark.line) : "") +
           ": " + remark.what;
}

std::vector<Config_remark> remarks_on(const Config_file& file) {
    std::vector<Config_remark> remarks;
    if (!file.problem.empty()) {
        remarks.push_back({0, file.problem + "; the defaults hold"});
    }
    for (const Config_line& line : file.lines) {
        remark_on_line(file, line, remarks);
    }
    remark_on_heartbeat(file, remarks);
    std::stable_sort(
        remarks.begin(), remarks.end(),
        [](const Config_remark& a, const Config_remark& b) { return a.line < b.line; });
    return remarks;
}

}  // namespace nuvctl

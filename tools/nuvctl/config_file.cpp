#include "config_file.h"

#include "safe_text.h"

#include <nuvkit/config_values.h>
#include <nuvkit/ini.h>

#include <strings.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#define SI_NO_CONVERSION
#define SI_IMPLEMENTATION
#include <SimpleIni.h>

namespace nuvctl {
namespace {

std::string path_that_is_found() {
    std::array<char, 4096> path{};
    CNuv_ini locator("nuv_devicemgr");
    const unsigned int code = locator.get_ini_filename(path.data(), static_cast<int>(path.size()));
    return code == 0 ? path.data() : "";
}

/// The text up to its first NUL, which ends it for the parser too, without a byte-order mark.
std::string text_of(const std::string& path, std::string& problem) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        problem = "it is no file";
        return "";
    }
    std::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file) {
        problem = "it cannot be read";
        return "";
    }
    text.resize(std::min(text.size(), text.find('\0')));
    return text.rfind("\xEF\xBB\xBF", 0) == 0 ? text.substr(3) : text;
}

/// Ends at a line feed, a carriage return, or the two together, as for the parser.
std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines(1);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\n' || text[i] == '\r') {
            i += text.compare(i, 2, "\r\n") == 0 ? 1 : 0;
            lines.emplace_back();
        } else {
            lines.back() += text[i];
        }
    }
    return lines;
}

bool is_empty_or_comment(const std::string& line) {
    const std::size_t first = line.find_first_not_of(" \t");
    return first == line.npos || line[first] == ';' || line[first] == '#';
}

/// The parser itself says what a line is: without multi-line values, which are off, nothing but
/// the section reaches over a line's end.
Config_line understand(const std::string& text, int number) {
    Config_line line;
    line.number = number;
    line.text = text;
    CSimpleIniA ini;
    CSimpleIniA::TNamesDepend names;
    ini.LoadData("\n" + text);  // so that no byte-order mark is seen in the middle of the file
    ini.GetAllSections(names);
    if (names.empty()) {
        return line;
    }
    line.section = names.front().pItem;
    line.kind = Config_line::Kind::section;
    names.clear();
    ini.GetAllKeys(line.section->c_str(), names);
    if (!names.empty()) {
        line.kind = Config_line::Kind::entry;
        line.key = names.front().pItem;
        line.value = ini.GetValue(line.section->c_str(), line.key.c_str(), "");
    }
    return line;
}

std::vector<Config_line> understand_all(const std::string& text) {
    std::vector<Config_line> understood;
    std::optional<std::string> section = "";
    int number = 0;
    for (const std::string& one : lines_of(text)) {
        ++number;
        if (is_empty_or_comment(one)) {
            continue;
        }
        Config_line line = understand(one, number);
        if (line.kind == Config_line::Kind::section) {
            section = line.section;
        } else if (line.kind == Config_line::Kind::broken &&
                   one[one.find_first_not_of(" \t")] == '[') {
            section.reset();
        } else {
            line.section = section;
        }
        understood.push_back(std::move(line));
    }
    return understood;
}

/// The last line that gives the key its value.
int line_of(const Config_file& file, const Setting& setting) {
    int number = 0;
    for (const Config_line& line : file.lines) {
        if (line.kind == Config_line::Kind::entry && line.section &&
            same_word(*line.section, setting.key->section) &&
            same_word(line.key, setting.key->name)) {
            number = line.value == *setting.text ? line.number : 0;
        }
    }
    return number;
}

}  // namespace

unsigned long Setting::number() const {
    if (!text) {
        return key->fallback;
    }
    return key->kind == nuvkit::Value_kind::on_off ? nuvkit::read_switch(text->c_str())
                                                   : nuvkit::read_number(text->c_str());
}

unsigned long Setting::used() const {
    return key->kind == nuvkit::Value_kind::bits ? number() & key->most
                                                 : std::clamp(number(), key->least, key->most);
}

std::string Setting::value_text() const {
    char digits[24];
    switch (key->kind) {
        case nuvkit::Value_kind::on_off:
            return used() != 0 ? "on" : "off";
        case nuvkit::Value_kind::number:
            return std::to_string(used()) + (*key->unit != '\0' ? " " : "") + key->unit;
        case nuvkit::Value_kind::bits:
            std::snprintf(digits, sizeof digits, "0x%lx", used());
            return digits;
        case nuvkit::Value_kind::text:
            break;
    }
    return text && !text->empty() ? safe_text(*text) : "-";
}

const Setting& Config_file::setting(nuvkit::Key key) const {
    return settings[static_cast<std::size_t>(key)];
}

Config_file read_config(const std::string& path) {
    Config_file file;
    file.path = path.empty() ? path_that_is_found() : path;
    const std::string text = file.path.empty() ? "" : text_of(file.path, file.problem);
    file.lines = understand_all(text);
    CSimpleIniA ini;
    if (ini.LoadData(text) < 0) {
        file.problem = "it is no INI text";
    }
    for (const nuvkit::Config_key& key : nuvkit::config_keys) {
        Setting setting{&key, std::nullopt, 0};
        if (const char* const value = ini.GetValue(key.section, key.name)) {
            setting.text = value;
            setting.line = line_of(file, setting);
        }
        file.settings.push_back(std::move(setting));
    }
    return file;
}

bool same_word(const std::string& one, const std::string& other) {
    return strcasecmp(one.c_str(), other.c_str()) == 0;
}

}  // namespace nuvctl

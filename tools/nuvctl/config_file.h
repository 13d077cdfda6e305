// The device manager's INI file, read as the manager reads it and also line by line, so that each
// value can be traced to its place.
#pragma once

#include <nuvkit/config_keys.h>

#include <optional>
#include <string>
#include <vector>

namespace nuvctl {

struct Config_line {
    enum class Kind { section, entry, broken };

    int number = 0;
    Kind kind = Kind::broken;
    /// Of a section or an entry; nothing behind a section's line that was not understood.
    std::optional<std::string> section;
    std::string key;
    std::string value;
    std::string text;  ///< the line as it stands
};

/// A key as the manager finds it.
struct Setting {
    const nuvkit::Config_key* key = nullptr;
    std::optional<std::string> text;  ///< nothing: the default holds
    int line = 0;                     ///< 0: the default, or a place that is not known

    /// What the manager makes of a switch (0 or 1) or a number, before it limits it.
    unsigned long number() const;
    /// And after.
    unsigned long used() const;
    /// The value that holds, in words.
    std::string value_text() const;
};

struct Config_file {
    std::string path;                ///< empty: there is none
    std::string problem;             ///< why it can't be read; the defaults hold then
    std::vector<Config_line> lines;  ///< without empty lines and comments
    std::vector<Setting> settings;   ///< one for each of the keys, in their order

    const Setting& setting(nuvkit::Key key) const;
};

/// Reads `path`; empty: the file that the device manager would find.
Config_file read_config(const std::string& path);

bool same_word(const std::string& one, const std::string& other);

}  // namespace nuvctl

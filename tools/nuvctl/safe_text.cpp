#include "safe_text.h"

#include <wchar.h>

#include <cstdio>

namespace nuvctl {
namespace {

struct Character {
    std::size_t length = 1;  ///< in bytes
    int width = -1;          ///< in columns; below 1: not to be shown as it is
    wchar_t code = 0;
    bool valid = false;
};

Character first_character(std::string_view text) {
    Character character;
    mbstate_t state = {};
    const std::size_t length = mbrtowc(&character.code, text.data(), text.size(), &state);
    if (length == 0 || length > text.size()) {
        return character;  // a NUL, or no UTF-8
    }
    character.length = length;
    character.width = wcwidth(character.code);
    character.valid = true;
    return character;
}

std::string spelled_out(const Character& character, char first_byte) {
    char text[16];
    if (character.valid && character.length > 1) {
        std::snprintf(text, sizeof text, "\\u%04x", static_cast<unsigned int>(character.code));
    } else {
        std::snprintf(text, sizeof text, "\\x%02x", static_cast<unsigned char>(first_byte));
    }
    return text;
}

}  // namespace

std::string safe_text(std::string_view raw) {
    std::string safe;
    while (!raw.empty()) {
        const Character character = first_character(raw);
        if (character.width > 0) {
            safe += raw.substr(0, character.length);
        } else {
            safe += spelled_out(character, raw[0]);
        }
        raw.remove_prefix(character.length);
    }
    return safe;
}

std::size_t display_width(std::string_view safe) {
    std::size_t width = 0;
    while (!safe.empty()) {
        const Character character = first_character(safe);
        width += character.width > 0 ? static_cast<std::size_t>(character.width) : 0;
        safe.remove_prefix(character.length);
    }
    return width;
}

std::string shortened(const std::string& safe, std::size_t width) {
    if (display_width(safe) <= width) {
        return safe;
    }
    std::string_view rest = safe;
    std::size_t room = width > 0 ? width - 1 : 0;
    while (!rest.empty()) {
        const Character character = first_character(rest);
        const auto needed = static_cast<std::size_t>(character.width > 0 ? character.width : 0);
        if (needed > room) {
            break;
        }
        room -= needed;
        rest.remove_prefix(character.length);
    }
    return safe.substr(0, safe.size() - rest.size()) + "…";
}

}  // namespace nuvctl

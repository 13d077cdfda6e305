// Text from the registry made fit for a terminal. main sets the character type to UTF-8.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace nuvctl {

/// Leaves characters that take up room on the screen as they are and spells out the rest (control
/// characters, marks that change their neighbours or the direction of writing, bytes that are no
/// UTF-8) as \xNN or \uNNNN.
std::string safe_text(std::string_view raw);

/// Columns that a safe text takes up.
std::size_t display_width(std::string_view safe);

/// A safe text cut to at most `width` columns, with a mark where it was cut.
std::string shortened(const std::string& safe, std::size_t width);

}  // namespace nuvctl

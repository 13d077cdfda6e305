// Where INI files lie.
#pragma once

#include <string>

namespace nuv {

/// The first `NAME.ini` that exists, in the order that <nuvkit/ini.h> gives; empty when none does,
/// or when the name is empty or has a folder in it.
std::string find_ini_file(const std::string& name);

/// `$variable/nuv`, or `~/home_default/nuv` when the variable is not an absolute path; empty
/// without either.
std::string user_folder(const char* variable, const char* home_default);

}  // namespace nuv

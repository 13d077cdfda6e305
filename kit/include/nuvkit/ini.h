/// \file
/// Finds INI files, and makes the log that one of them asks for.
#pragma once

#include <nuv/export.h>

#include <memory>

class CNuv_Log;

/// Looks for `NAME.ini` in the folders of `NUV_INI_PATH` (colon between them), then in
/// `$XDG_CONFIG_HOME/nuv` (or `~/.config/nuv`), then in `/etc/nuv`. The first that exists is taken;
/// it is looked for again at each call. No virtual functions, nothing inline: see `CNuv_Log`.
class NUV_EXPORT CNuv_ini {
public:
    /// `name` is copied; it carries no folder and no ".ini". Null is as an empty name: nothing is
    /// ever found.
    explicit CNuv_ini(char const* name);
    CNuv_ini(const CNuv_ini&) = delete;
    CNuv_ini& operator=(const CNuv_ini&) = delete;
    ~CNuv_ini();

    /// Writes the file's path, terminated, into `buffer` of `size` bytes.
    /// \return 0; `NUV_INI_NOT_FOUND` when there is no file; `NUV_INI_BAD_BUFFER` when the buffer
    ///         is null or too small. The buffer is untouched then.
    unsigned int get_ini_filename(char* buffer, int size);

    /// Makes the log that the file's [LOG] section describes. The caller owns it.
    /// \return null without a file, without that section, or when it asks for no log
    CNuv_Log* create_log_from_ini();

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
    // The device manager allocates what this header says. A substitute that is loaded in this
    // library's place is constructed in the same bytes, and may need more of them.
    [[maybe_unused]] unsigned char room_for_substitutes[248];
};

/// None of the folders has the file.
constexpr unsigned int NUV_INI_NOT_FOUND = 0xA0002005;
/// The path has no room in the caller's buffer.
constexpr unsigned int NUV_INI_BAD_BUFFER = 0xA0002006;

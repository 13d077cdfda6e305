// The log of the kit: lines selected by level and source, written to a rotating file.
#pragma once

#include <nuv/export.h>

#include <cstdarg>
#include <memory>

/// Where the kit's classes write their lines. Has no virtual functions and defines nothing inline
/// that the device manager calls, so that another library of the same name can take its place when
/// a program is loaded.
///
/// `writelog` may be called by any thread, on one object, at once; set-up and destruction belong to
/// the thread that owns the object.
class NUV_EXPORT CNuv_Log {
public:
    /// What a log writes, and where to. All values have defaults that write nothing.
    struct Settings;

    /// A log that writes as `settings` say. A file that cannot be opened is reported once on
    /// standard error; lines are then dropped.
    explicit CNuv_Log(const Settings& settings);
    CNuv_Log(const CNuv_Log&) = delete;
    CNuv_Log& operator=(const CNuv_Log&) = delete;
    ~CNuv_Log();

    /// Writes a line if one of `level`'s bits is among the log's and `source` is selected. `format`
    /// and what follows are as for `printf`; null writes nothing.
    void writelog(unsigned int level, int source, char const* format, ...) NUV_PRINTF_FORMAT(4, 5);
    /// The same with an argument list. A null pointer as the only argument of the form above picks
    /// this form where `va_list` is a pointer: give it a type.
    void writelog(unsigned int level, int source, char const* format, va_list arguments)
        NUV_PRINTF_FORMAT(4, 0);

    /// The level bits that this log writes.
    unsigned int get_logbits();
    /// Records whose log this is: writes a line with the three texts, whatever the level bits. A
    /// null text is left out.
    void set_lib_vers(char const* library, char const* version, char const* build_date);

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

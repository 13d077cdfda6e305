/// \file
/// The log of the kit: lines selected by level and source, written to a rotating file.
#pragma once

#include <nuv/export.h>

#include <cstdarg>
#include <cstddef>
#include <memory>
#include <string>

/// Where the kit's classes write their lines. Has no virtual functions and defines nothing inline
/// that the device manager calls, so that another library of the same name can take its place when
/// a program is loaded.
///
/// `writelog` may be called by any thread, on one object, at once, and by a child that was forked
/// meanwhile; set-up and destruction belong to the thread that owns the object. Nothing throws but
/// the constructor, and that only when memory runs out.
class NUV_EXPORT CNuv_Log {
public:
    /// What a log writes, and where to. All values have defaults that write nothing.
    struct Settings;

    /// A log that writes as `settings` say. A file that cannot be opened is reported once on
    /// standard error; lines for it are then dropped.
    explicit CNuv_Log(const Settings& settings);
    CNuv_Log(const CNuv_Log&) = delete;
    CNuv_Log& operator=(const CNuv_Log&) = delete;
    ~CNuv_Log();

    /// Writes a line if one of `level`'s bits is among the log's and `source` is selected. `format`
    /// and what follows are as for `printf`; null writes nothing. Text beyond 1023 bytes is cut;
    /// control characters are written as escapes, so that a line stays one line. The system
    /// has it before the call returns: a killed process loses none.
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

/// What a log writes, and where to.
struct CNuv_Log::Settings {
    /// A line is written when its level has one of these bits.
    unsigned int level_bits = 0;
    /// Classes by the top four bits of the source word; see <nuv/bits.h>. A source word without
    /// any of the four is always selected.
    unsigned int sources = 0xF0000000;
    /// Back-ends by interface type, bit n for type n; types from 32 on are always selected.
    unsigned int interface_types = 0xFFFFFFFF;
    /// Name of the file, in which `%p` stands for the process id and `%%` for a percent sign; any
    /// other percent sign stands for itself. Missing folders are made. Several processes need a
    /// `%p`: they would rotate each other's file away. Empty: no file.
    std::string file;
    /// Also write to standard error.
    bool console = false;
    /// Bytes after which the file is renamed (a.log to a.1.log, that to a.2.log, ...); 0: never.
    std::size_t max_size = 10 * 1024 * 1024;
    /// How many renamed files are kept, 0 to 1000.
    unsigned int max_files = 5;
};

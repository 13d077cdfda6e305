// Stands in for the kit's log: formats every line and drops it. Opens no file, whatever a fuzzed
// INI file asks for.
#include <nuvkit/log.h>

#include <cstdio>

struct CNuv_Log::Impl {};

CNuv_Log::CNuv_Log(const Settings& /*settings*/) {}

CNuv_Log::~CNuv_Log() = default;

void CNuv_Log::writelog(unsigned int level, int source, char const* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    writelog(level, source, format, arguments);
    va_end(arguments);
}

void CNuv_Log::writelog(unsigned int /*level*/, int /*source*/, char const* format,
                        va_list arguments) {
    char line[1024];
    std::vsnprintf(line, sizeof line, format, arguments);
}

unsigned int CNuv_Log::get_logbits() {
    return 0xFFFFFFFF;
}

void CNuv_Log::set_lib_vers(char const* /*library*/, char const* /*version*/,
                            char const* /*build_date*/) {}

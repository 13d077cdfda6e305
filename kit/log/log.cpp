#include "file_name.h"
#include "line_text.h"
#include "this_writer.h"

#include <nuv/bits.h>

#include <nuvkit/log.h>

#include <pthread.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <limits>
#include <mutex>

namespace {

constexpr unsigned int class_bits = NUV_BIT_LOG_DEVICE_MANAGER | NUV_BIT_LOG_INTERFACE |
                                    NUV_BIT_LOG_SHM_MANAGER | NUV_BIT_LOG_SEM_ACCESS;
constexpr unsigned int most_files = 1000;

// One for the process, so that a fork can wait for it: a child must not find it held by a thread
// that it does not have. The sinks have no lock of their own.
std::mutex writing;

void after_fork_in_child() {
    writing.unlock();
    nuv::forget_writer();
}

// When the library is loaded: a fork must not come in between.
[[maybe_unused]] const int registered =
    pthread_atfork([] { writing.lock(); }, [] { writing.unlock(); }, after_fork_in_child);

void report(const std::string& what) {
    std::fprintf(stderr, "nuvlog: %s\n", what.c_str());
}

spdlog::sink_ptr open_file(const CNuv_Log::Settings& settings) try {
    const std::size_t max_size =
        settings.max_size != 0 ? settings.max_size : std::numeric_limits<std::size_t>::max();
    return std::make_shared<spdlog::sinks::rotating_file_sink_st>(
        nuv::expand_file_pattern(settings.file), max_size,
        std::min(settings.max_files, most_files));
} catch (const spdlog::spdlog_ex& error) {
    report(error.what());
    return nullptr;
}

std::vector<spdlog::sink_ptr> open_sinks(const CNuv_Log::Settings& settings) {
    std::vector<spdlog::sink_ptr> sinks;
    if (!settings.file.empty()) {
        if (auto file = open_file(settings)) {
            sinks.push_back(std::move(file));
        }
    }
    if (settings.console) {
        sinks.push_back(std::make_shared<spdlog::sinks::stderr_sink_st>());
    }
    return sinks;
}

}  // namespace

struct CNuv_Log::Impl {
    explicit Impl(const Settings& settings);

    bool selects(unsigned int level, unsigned int source) const;
    void write(unsigned int level, unsigned int source, const char* format, va_list arguments);
    void write_unselected(unsigned int source, const char* format, ...) NUV_PRINTF_FORMAT(3, 4);

    const unsigned int level_bits;
    const unsigned int sources;
    const unsigned int interface_types;
    bool failure_reported = false;  // guarded by `writing`
    spdlog::logger logger;
};

CNuv_Log::Impl::Impl(const Settings& settings)
    : level_bits(settings.level_bits),
      sources(settings.sources),
      interface_types(settings.interface_types),
      logger("", {}) {
    logger.sinks() = open_sinks(settings);
    logger.set_pattern("%Y-%m-%d %T.%e %v");
    logger.set_level(spdlog::level::trace);
    logger.flush_on(spdlog::level::trace);
    logger.set_error_handler([this](const std::string& what) {
        if (!failure_reported) {
            report(what);
        }
        failure_reported = true;
    });
}

bool CNuv_Log::Impl::selects(unsigned int level, unsigned int source) const {
    if ((level & level_bits) == 0) {
        return false;
    }
    if ((source & class_bits) != 0 && (source & class_bits & sources) == 0) {
        return false;
    }
    const unsigned int type = (source & ~class_bits) >> 16;
    const bool from_interface = (source & NUV_BIT_LOG_INTERFACE) != 0;
    return !from_interface || type >= 32 || (interface_types >> type & 1) != 0;
}

void CNuv_Log::Impl::write(unsigned int level, unsigned int source, const char* format,
                           va_list arguments) try {
    const nuv::Line_text line(level, source, format, arguments);
    const std::lock_guard lock(writing);
    logger.log(spdlog::level::info, spdlog::string_view_t(line.view().data(), line.view().size()));
} catch (const std::exception& error) {
    // Only memory that runs out gets here: spdlog answers for its sinks.
    std::fprintf(stderr, "nuvlog: line lost: %s\n", error.what());
}

void CNuv_Log::Impl::write_unselected(unsigned int source, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    write(NUV_LOG_TRACE, source, format, arguments);
    va_end(arguments);
}

CNuv_Log::CNuv_Log(const Settings& settings) : impl(std::make_unique<Impl>(settings)) {}

CNuv_Log::~CNuv_Log() = default;

void CNuv_Log::writelog(unsigned int level, int source, char const* format, ...) {
    if (format == nullptr || !impl->selects(level, static_cast<unsigned int>(source))) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    impl->write(level, static_cast<unsigned int>(source), format, arguments);
    va_end(arguments);
}

void CNuv_Log::writelog(unsigned int level, int source, char const* format, va_list arguments) {
    if (format == nullptr || !impl->selects(level, static_cast<unsigned int>(source))) {
        return;
    }
    impl->write(level, static_cast<unsigned int>(source), format, arguments);
}

unsigned int CNuv_Log::get_logbits() {
    return impl->level_bits;
}

void CNuv_Log::set_lib_vers(char const* library, char const* version, char const* build_date) {
    const auto text = [](char const* given) { return given != nullptr ? given : ""; };
    impl->write_unselected(NUV_BIT_LOG_DEVICE_MANAGER, "log of %s %s %s", text(library),
                           text(version), text(build_date));
}

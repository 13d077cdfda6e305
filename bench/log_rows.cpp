// What a line costs: one that nobody hears, and one that is written.
#include "fail.h"
#include "registry/listens.h"
#include "registry_world.h"
#include "round.h"

#include <nuv/iftype.h>
#include <nuv/result.h>

#include <nuvkit/log.h>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdarg>
#include <ctime>
#include <filesystem>

namespace nuv_bench {
namespace {

/// A log file of each kind, for as long as a row is measured.
class Log_files {
public:
    Log_files() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "nuv_bench.XXXXXX").string();
        require(mkdtemp(pattern.data()) != nullptr, "cannot make a folder for log files");
        folder = pattern;
    }
    Log_files(const Log_files&) = delete;
    Log_files& operator=(const Log_files&) = delete;
    ~Log_files() { std::filesystem::remove_all(folder); }

    std::string path(const char* name) const { return (folder / name).string(); }

private:
    std::filesystem::path folder;
};

std::shared_ptr<CNuv_Log> make_log(const Log_files& files) {
    CNuv_Log::Settings settings;
    settings.level_bits = NUV_LOG_TRACE;
    settings.file = files.path("library.log");
    settings.max_size = 0;
    return std::make_shared<CNuv_Log>(settings);
}

/// As many as a short operation has, so that the loop around them weighs little.
template <class Trace>
Round traces(Trace trace) {
    constexpr int in_a_round = 20'000;
    return repeated(in_a_round, [trace] {
#pragma GCC unroll 8
        for (int i = 0; i < 8; ++i) {
            trace();
            benchmark::ClobberMemory();
        }
    });
}

/// The log is there, but the bit is not set.
Comparison unheard_traces() {
    const auto files = std::make_shared<Log_files>();
    const std::shared_ptr<CNuv_Log> log = make_log(*files);
    const auto manager = std::make_shared<CNuv_shm_manager>(log.get(), 0);
    const NUV_Device device = nuv_bench::device(1, 1);
    static constexpr char op[] = "get_nuvdevice_from_id";
    static constexpr char format[] = "%s: device with id %d serial %d found at %d";
    return {traces([manager, log, files, device] {
                NUV_LOG(*manager, NUV_LOG_TRACE, format, op, device.id, device.serialnumber, 0);
            }),
            traces([manager, log, files, device] {
                if (manager->clog != nullptr &&
                    (manager->general_bits & NUV_BIT_LOG_SHM_MANAGER) != 0) {
                    manager->writelog(NUV_LOG_TRACE, format, op, +device.id, +device.serialnumber,
                                      0);
                }
            })};
}

class By_hand {
public:
    explicit By_hand(const std::string& path)
        : fd(open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600)),
          process(getpid()),
          thread(gettid()) {
        require(fd >= 0, "cannot open the yardstick's log file");
    }
    By_hand(const By_hand&) = delete;
    By_hand& operator=(const By_hand&) = delete;
    ~By_hand() { close(fd); }

    /// The same line as the companion log writes.
    NUV_PRINTF_FORMAT(2, 3) void write_line(const char* format, ...) {
        timeval now{};
        gettimeofday(&now, nullptr);
        tm local{};
        localtime_r(&now.tv_sec, &local);
        char line[512];
        int length = std::snprintf(
            line, sizeof line, "%04d-%02d-%02d %02d:%02d:%02d.%03d %d:%d 0x2 registry %s",
            local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min,
            local.tm_sec, static_cast<int>(now.tv_usec / 1000), process, thread,
            "CNuv_shm_manager::");
        va_list arguments;
        va_start(arguments, format);
        length += std::vsnprintf(line + length, sizeof line - static_cast<std::size_t>(length),
                                 format, arguments);
        va_end(arguments);
        line[length++] = '\n';
        require(write(fd, line, static_cast<std::size_t>(length)) == length, "a line was lost");
    }

private:
    const int fd;
    const pid_t process;
    const pid_t thread;
};

Comparison written_line() {
    const auto files = std::make_shared<Log_files>();
    const std::shared_ptr<CNuv_Log> log = make_log(*files);
    const auto manager = std::make_shared<CNuv_shm_manager>(log.get(), NUV_BIT_LOG_SHM_MANAGER);
    const auto by_hand = std::make_shared<By_hand>(files->path("by_hand.log"));
    static constexpr char op[] = "get_nuvdevice_from_id";
    static constexpr char format[] = "%s: device with id %d serial %d found at %d";
    constexpr int in_a_round = 100;
    return {repeated(in_a_round,
                     [manager, log, files] {
                         NUV_LOG(*manager, NUV_LOG_TRACE, format, op, 128, 7128, 127);
                     }),
            repeated(in_a_round, [by_hand] { by_hand->write_line(format, op, 128, 7128, 127); })};
}

/// By a manager that has created the region, whose semaphore speaks as well: three lines, two of
/// them while it is held.
Comparison logged_look_up() {
    const auto files = std::make_shared<Log_files>();
    const std::shared_ptr<CNuv_Log> log = make_log(*files);
    const auto manager = std::make_shared<CNuv_shm_manager>(
        log.get(), NUV_BIT_LOG_SHM_MANAGER | NUV_BIT_LOG_SEM_ACCESS);
    require(manager->Initialize() == NUV_NOERROR, "cannot create a registry");
    manager->set_nuvdevice_to_free_listentry(device(1, NUV_IFTYPE_USB3));
    const std::shared_ptr<CNuv_shm_manager> silent = attached_manager();
    const auto look_up = [](CNuv_shm_manager& registry) {
        NUV_Device found;
        registry.get_nuvdevice_from_id(1, found);
        benchmark::DoNotOptimize(found);
    };
    constexpr int in_a_round = 100;
    return {repeated(in_a_round, [files, log, manager, look_up] { look_up(*manager); }),
            repeated(in_a_round, [silent, look_up] { look_up(*silent); })};
}

}  // namespace

Rows log_rows() {
    return {{"eight traces that nobody hears", "pointer and bit, eight times", 1.2, unheard_traces},
            {"a line that is written", "vsnprintf and one write", 1.0, written_line},
            {"look-up, log at level 2", "the same, nobody listening", 0, logged_look_up}};
}

}  // namespace nuv_bench

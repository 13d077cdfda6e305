#include <nuvkit/holder.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <optional>

namespace nuvkit {
namespace {

struct Process_status {
    char state = '?';
    long threads = 0;
    std::uint32_t start_ticks = 0;
};

// The command name stands in parentheses and may hold any character: fields are counted from the
// last closing one.
std::optional<Process_status> parse_status(const char* line) {
    const char* name_end = std::strrchr(line, ')');
    if (name_end == nullptr) {
        return std::nullopt;
    }
    Process_status status;
    unsigned long long start = 0;
    const int read = std::sscanf(name_end + 1,
                                 " %c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %*u %*u %*d %*d "
                                 "%*d %*d %ld %*d %llu",
                                 &status.state, &status.threads, &start);
    if (read != 3) {
        return std::nullopt;
    }
    status.start_ticks = static_cast<std::uint32_t>(start);
    return status;
}

// Allocates nothing: memory that runs out must not make a process look dead.
std::optional<Process_status> status_of(std::int32_t process_id) {
    std::array<char, 32> path;
    std::snprintf(path.data(), path.size(), "/proc/%d/stat", process_id);
    const int descriptor = open(path.data(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return std::nullopt;
    }
    std::array<char, 1024> line{};
    const ssize_t length = read(descriptor, line.data(), line.size() - 1);
    close(descriptor);
    return length > 0 ? parse_status(line.data()) : std::nullopt;
}

// A first thread that has ended leaves its process a zombie by name while others still run.
bool has_ended(const Process_status& status) {
    return status.state == 'X' || (status.state == 'Z' && status.threads <= 1);
}

static_assert(sizeof(Holder) == sizeof(NUV_Device::backend_data));

}  // namespace

Holder current_process() {
    // Asked at every scan. Only in a forked child it is another process than before.
    static std::atomic<std::uint64_t> known{0};  // process id above, start below
    const pid_t process = getpid();
    const std::uint64_t both = known.load(std::memory_order_relaxed);
    if (both >> 32U == static_cast<std::uint32_t>(process)) {
        return {process, static_cast<std::uint32_t>(both)};
    }
    const auto status = status_of(process);
    if (!status) {
        return {process, 0};
    }
    known.store(static_cast<std::uint64_t>(process) << 32U | status->start_ticks,
                std::memory_order_relaxed);
    return {process, status->start_ticks};
}

Holder holder_of(const NUV_Device& device) {
    Holder holder;
    std::memcpy(&holder, device.backend_data, sizeof(holder));
    return holder;
}

void set_holder(NUV_Device& device, const Holder& holder) {
    std::memcpy(device.backend_data, &holder, sizeof(holder));
}

bool is_alive(const Holder& holder) {
    if (holder.process_id <= 0 || (kill(holder.process_id, 0) != 0 && errno == ESRCH)) {
        return false;
    }
    const auto status = status_of(holder.process_id);
    if (!status) {
        // Hidden from us, or gone in between: only the latter is dead.
        return kill(holder.process_id, 0) == 0 || errno != ESRCH;
    }
    // A start of 0 was recorded without a /proc to read it from.
    const bool same = holder.start_ticks == 0 || holder.start_ticks == status->start_ticks;
    return same && !has_ended(*status);
}

}  // namespace nuvkit

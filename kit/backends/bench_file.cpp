#include "bench_file.h"

#include <nuv/result.h>

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <utility>

namespace nuvkit {
namespace {

constexpr off_t largest_file = 4 * 1024 * 1024;
// Generous for the kernel's tick, by which file times advance.
constexpr long settling_seconds = 2;

class Descriptor {
public:
    // Not blocking: a pipe under that name must not hold up a scan.
    explicit Descriptor(const std::string& path)
        : number(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number >= 0) {
            close(number);
        }
    }

    const int number;
};

bool read_whole(int descriptor, std::string& text) {
    std::array<char, 16384> block;
    for (;;) {
        const ssize_t got = read(descriptor, block.data(), block.size());
        if (got == 0) {
            return true;
        }
        if (got > 0) {
            text.append(block.data(), static_cast<std::size_t>(got));
        } else if (errno != EINTR) {
            return false;
        }
        if (text.size() > static_cast<std::size_t>(largest_file)) {
            return false;
        }
    }
}

bool is_settled(const timespec& changed) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec - changed.tv_sec > settling_seconds;
}

}  // namespace

// The change of the file's rights counts as well, and a program that copies times with a file
// cannot set this one.
Bench_file::Version::Version(const struct stat& status)
    : device(status.st_dev), inode(status.st_ino), size(status.st_size), changed(status.st_ctim) {}

bool Bench_file::Version::operator==(const Version& other) const {
    return device == other.device && inode == other.inode && size == other.size &&
           changed.tv_sec == other.changed.tv_sec && changed.tv_nsec == other.changed.tv_nsec;
}

Bench_file::Bench_file() : locator("nuv_cameras"), current(std::make_shared<Bench_inventory>()) {}

// Never destroyed: back-ends, and forks, may come after the exit's destructors.
Bench_file& Bench_file::shared = *new Bench_file;

// A child must not find it held by a thread that it does not have.
const int Bench_file::registered = pthread_atfork(
    [] { shared.mutex.lock(); }, [] { shared.mutex.unlock(); }, [] { shared.mutex.unlock(); });

unsigned int Bench_file::read(std::shared_ptr<const Bench_inventory>& inventory) {
    std::array<char, 4096> path{};
    const std::lock_guard lock(mutex);
    const unsigned int found = locator.get_ini_filename(path.data(), static_cast<int>(path.size()));
    if (found == NUV_INI_NOT_FOUND) {
        forget();
    } else if (found != NUV_NOERROR) {
        return found;
    } else if (const unsigned int code = read_path(path.data()); code != NUV_NOERROR) {
        return code;
    }
    inventory = current;
    return NUV_NOERROR;
}

std::vector<std::string> Bench_file::take_remarks() {
    const std::lock_guard lock(mutex);
    return std::exchange(remarks, {});
}

unsigned int Bench_file::read_path(const std::string& path) {
    struct stat status {};
    if (settled && stat(path.c_str(), &status) == 0 && Version(status) == version) {
        return NUV_NOERROR;
    }
    const Descriptor file(path);
    if (file.number < 0 && errno == ENOENT) {
        forget();
        return NUV_NOERROR;
    }
    return file.number < 0 ? NUV_ERROR_INI_LOAD : read_descriptor(file.number, path);
}

unsigned int Bench_file::read_descriptor(int descriptor, const std::string& path) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size > largest_file) {
        return NUV_ERROR_INI_LOAD;
    }
    std::string text;
    if (!read_whole(descriptor, text)) {
        return NUV_ERROR_INI_LOAD;
    }
    take_text(std::move(text), path);
    version = Version(status);
    settled = is_settled(version.changed);
    return NUV_NOERROR;
}

void Bench_file::take_text(std::string text, const std::string& path) {
    if (text == parsed_text) {
        return;
    }
    auto parsed = std::make_shared<Bench_inventory>(parse_bench_inventory(text));
    for (const std::string& remark : parsed->remarks) {
        remarks.push_back(path + ": " + remark);
    }
    current = std::move(parsed);
    parsed_text = std::move(text);
}

void Bench_file::forget() {
    settled = false;
    parsed_text.clear();
    current = std::make_shared<Bench_inventory>();
}

}  // namespace nuvkit

// The inventory file, as it is at the moment.
#pragma once

#include "bench_inventory.h"

#include <nuvkit/ini.h>

#include <sys/stat.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace nuvkit {

/// Parses the file when it has changed, and only then. Any thread.
class Bench_file {
public:
    Bench_file();

    /// \return 0; `NUV_ERROR_INI_LOAD` when the file is there but cannot be read; the INI locator's
    ///         code for any other failure than that there is none
    unsigned int read(std::shared_ptr<const Bench_inventory>& inventory);
    /// What was not understood since the last call.
    std::vector<std::string> take_remarks();

    /// One for all back-ends of the process, so that the file is parsed and remarked upon once.
    static Bench_file& of_process() { return shared; }

private:
    struct Version {
        Version() = default;
        explicit Version(const struct stat& status);
        dev_t device = 0;
        ino_t inode = 0;
        off_t size = -1;
        timespec changed{};
        bool operator==(const Version& other) const;
    };

    unsigned int read_path(const std::string& path);
    unsigned int read_descriptor(int descriptor, const std::string& path);
    void take_text(std::string text, const std::string& path);
    void forget();

    // Both when the library is loaded: a fork must not come in between.
    static Bench_file& shared;
    static const int registered;

    CNuv_ini locator;
    std::mutex mutex;  // guards what follows; nothing else is taken under it
    Version version;
    bool settled = false;  // old enough that a later change has a later time
    std::string parsed_text;
    std::shared_ptr<const Bench_inventory> current;
    std::vector<std::string> remarks;
};

}  // namespace nuvkit

#include "support/private_world.h"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

namespace fs = std::filesystem;

namespace nuv_test {
namespace {

constexpr char CONFIG_VARIABLE[] = "NUV_INI_PATH";
constexpr char AGAIN_VARIABLE[] = "NUV_TEST_STARTED_AGAIN";

bool made_config_folder = false;

[[noreturn]] void refuse(const char* what) {
    std::fprintf(stderr,
                 "The tests refuse to run: %s: %s. They need a /dev/shm of their own, or they "
                 "would change the machine's live device registry. Run them as root, or allow "
                 "unprivileged user namespaces.\n",
                 what, std::strerror(errno));
    std::exit(1);
}

void start_again_in_user_namespace(char** argv) {
    setenv(AGAIN_VARIABLE, "1", 1);
    const std::string program = fs::read_symlink("/proc/self/exe");
    std::vector<const char*> words = {"unshare", "--user", "--map-root-user", "--mount",
                                      program.c_str()};
    do {
        words.push_back(*++argv);
    } while (*argv != nullptr);
    execvp(words[0], const_cast<char**>(words.data()));
    refuse("cannot run unshare");
}

/// Without words to start the program with again, it has to be allowed.
void enter_mount_namespace(char** argv) {
    if (unshare(CLONE_NEWNS) != 0) {
        if (errno == EPERM && argv != nullptr && std::getenv(AGAIN_VARIABLE) == nullptr) {
            start_again_in_user_namespace(argv);
        }
        refuse("cannot get a private mount namespace");
    }
    if (mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) != 0) {
        refuse("cannot make the mounts private");
    }
    if (mount("nuv_test", "/dev/shm", "tmpfs", MS_NOSUID | MS_NODEV, "mode=1777") != 0) {
        refuse("cannot mount a /dev/shm");
    }
    if (!shm_is_private()) {
        errno = 0;
        refuse("/dev/shm is not the one just mounted");
    }
}

void make_config_folder() {
    std::string folder = (fs::temp_directory_path() / "nuv_test.XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) {
        refuse("cannot make a folder for INI files");
    }
    for (const char* variable : {CONFIG_VARIABLE, "XDG_CONFIG_HOME", "HOME"}) {
        setenv(variable, folder.c_str(), 1);
    }
    made_config_folder = true;
}

}  // namespace

bool shm_is_private() {
    std::ifstream mounts("/proc/self/mountinfo");
    bool ours_on_top = false;
    for (std::string line; std::getline(mounts, line);) {
        // id, parent, device, root, mount point, options, tags..., "-", type, source, options
        if (line.find(" /dev/shm ") != std::string::npos) {
            ours_on_top = line.find(" - tmpfs nuv_test ") != std::string::npos;
        }
    }
    return ours_on_top;
}

void enter_private_world(char** argv) {
    if (shm_is_private()) {
        return;
    }
    enter_mount_namespace(argv);
    make_config_folder();
}

void enter_another_shm() {
    enter_mount_namespace(nullptr);
}

void leave_private_world() {
    if (made_config_folder) {
        std::error_code ignored;
        fs::remove_all(config_folder(), ignored);
    }
}

void clear_private_world() {
    if (!shm_is_private()) {
        errno = EPERM;
        refuse("/dev/shm is the machine's");
    }
    for (const fs::path& folder : {fs::path("/dev/shm"), fs::path(config_folder())}) {
        for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
            fs::remove_all(entry.path());
        }
    }
}

std::string config_folder() {
    return std::getenv(CONFIG_VARIABLE);
}

std::string write_ini(const std::string& name, const std::string& text) {
    const fs::path path = fs::path(config_folder()) / (name + ".ini");
    const fs::path unfinished = path.string() + ".new";
    std::ofstream(unfinished, std::ios::binary) << text;
    fs::rename(unfinished, path);
    return path.string();
}

}  // namespace nuv_test

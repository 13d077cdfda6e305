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
#include <sstream>
#include <vector>

namespace fs = std::filesystem;

namespace nuv_test {
namespace {

constexpr char SHM_FOLDER[] = "/dev/shm";
constexpr char MOUNT_SOURCE[] = "nuv_test";  // by this, a private /dev/shm is known
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
    std::vector<char*> arguments;
    std::string words[] = {"unshare", "--user", "--map-root-user", "--mount", "/proc/self/exe"};
    words[4] = fs::read_symlink("/proc/self/exe").string();
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    for (char** argument = argv + 1; *argument != nullptr; ++argument) {
        arguments.push_back(*argument);
    }
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    refuse("cannot run unshare");
}

void enter_mount_namespace(char** argv) {
    if (unshare(CLONE_NEWNS) != 0) {
        if (errno == EPERM && std::getenv(AGAIN_VARIABLE) == nullptr) {
            start_again_in_user_namespace(argv);
        }
        refuse("cannot get a private mount namespace");
    }
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        refuse("cannot make the mounts private");
    }
    if (mount(MOUNT_SOURCE, SHM_FOLDER, "tmpfs", MS_NOSUID | MS_NODEV, "mode=1777") != 0) {
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

void empty_folder(const fs::path& folder) {
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        fs::remove_all(entry.path());
    }
}

}  // namespace

bool shm_is_private() {
    std::ifstream mounts("/proc/self/mountinfo");
    std::string source_on_top;
    for (std::string line; std::getline(mounts, line);) {
        // id, parent, device, root, mount point, options, tags..., "-", type, source, options
        std::istringstream words(line);
        std::string word;
        std::string mount_point;
        for (int field = 0; field < 5; ++field) {
            words >> mount_point;
        }
        while (words >> word && word != "-") {
        }
        words >> word >> word;
        if (mount_point == SHM_FOLDER) {
            source_on_top = word;
        }
    }
    return source_on_top == MOUNT_SOURCE;
}

void enter_private_world(char** argv) {
    if (shm_is_private()) {
        return;
    }
    enter_mount_namespace(argv);
    make_config_folder();
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
    empty_folder(SHM_FOLDER);
    empty_folder(config_folder());
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

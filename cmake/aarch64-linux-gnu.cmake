# For the reference platform, with Debian's cross compiler. Test programs run under qemu-user.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/bin/qemu-aarch64 -L /usr/aarch64-linux-gnu)

# Of these only headers are used, which are the same for every architecture.
file(GLOB spdlog_DIR /usr/lib/*/cmake/spdlog)
file(GLOB fmt_DIR /usr/lib/*/cmake/fmt)

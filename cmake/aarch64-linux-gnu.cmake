# Cross build for Linux on AArch64 with Debian's cross toolchain and the
# :arm64 development packages; tests run through qemu user emulation.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
# Both roots: the first holds the cross libc, the second the multiarch
# package configs under /usr/lib/aarch64-linux-gnu/cmake.
set(CMAKE_FIND_ROOT_PATH "/usr/aarch64-linux-gnu;/")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# The emulated programs load the multiarch loader and libc (libc6:arm64)
# from /: the cross toolchain's loader in /usr/aarch64-linux-gnu would pick
# up that libc too, and a loader and libc of two builds hang in the first
# pthread_create.
set(CMAKE_CROSSCOMPILING_EMULATOR "qemu-aarch64;-L;/")
# pkg-config must describe the target's libraries, not the build machine's.
set(ENV{PKG_CONFIG_LIBDIR} "/usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_PATH} "")

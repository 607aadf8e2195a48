# Cross-builds for 64-bit ARM with Debian's compiler; what it builds runs under qemu's user emulation.
# `./dev arm64` makes the tree of arm64 packages first (tools/arm64/make_sysroot.sh).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

get_filename_component(KO_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../../build/arm64-sysroot" ABSOLUTE)
set(CMAKE_SYSROOT "${KO_SYSROOT}")
get_filename_component(emulate "${CMAKE_CURRENT_LIST_DIR}/../../tools/arm64/emulate.sh" ABSOLUTE)
set(CMAKE_CROSSCOMPILING_EMULATOR "${emulate};${KO_SYSROOT}")

set(CMAKE_FIND_ROOT_PATH "${KO_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# pkg-config reads the tree's files and puts the tree before their paths.
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${KO_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR} "${KO_SYSROOT}/usr/lib/aarch64-linux-gnu/pkgconfig:${KO_SYSROOT}/usr/share/pkgconfig")

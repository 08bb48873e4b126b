# 32-bit ARM with hardware floating point (armhf), built against the packages that scripts/arm-sysroot unpacks. The
# programs of the build run in user-mode emulation.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(triplet arm-linux-gnueabihf)

get_filename_component(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/debian/sysroot-arm REALPATH)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
# One compiler builds everything here; without this, GCC notes each use of a calling convention that changed in GCC 7.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/${triplet}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm-static -L ${CMAKE_SYSROOT})

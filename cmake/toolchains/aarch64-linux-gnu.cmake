# Cross build for 64-bit ARM Linux with Debian's cross compiler (g++-aarch64-linux-gnu).
# Test programs run under user-mode emulation (qemu-user): CTest and GoogleTest's
# discovery start them through CMAKE_CROSSCOMPILING_EMULATOR.
#
#   cmake -S . -B build-aarch64 -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/aarch64-linux-gnu.cmake
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(TAVRIX_CROSS_TRIPLE aarch64-linux-gnu)
set(CMAKE_C_COMPILER ${TAVRIX_CROSS_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${TAVRIX_CROSS_TRIPLE}-g++)
set(TAVRIX_CROSS_SYSROOT /usr/${TAVRIX_CROSS_TRIPLE})
set(CMAKE_FIND_ROOT_PATH ${TAVRIX_CROSS_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# pkg-config looks only at the target's own .pc files (none are installed for it
# here, so optional libraries found that way are left out of the cross build).
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${TAVRIX_CROSS_TRIPLE}/pkgconfig:${TAVRIX_CROSS_SYSROOT}/lib/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "")
find_program(TAVRIX_QEMU_AARCH64 qemu-aarch64)
if(TAVRIX_QEMU_AARCH64)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${TAVRIX_QEMU_AARCH64} -L ${TAVRIX_CROSS_SYSROOT})
endif()
# No GoogleTest is installed for the target: build it from Debian's sources.
if(EXISTS /usr/src/googletest/CMakeLists.txt)
  set(TAVRIX_GTEST_SOURCE_DIR /usr/src/googletest CACHE PATH "GoogleTest sources to build")
endif()

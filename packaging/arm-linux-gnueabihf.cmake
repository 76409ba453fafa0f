# CMake toolchain of the 32-bit ARM build on a Debian machine: its cross compiler, the libraries of ATD_ARM_SYSROOT
# (filled by scripts/arm-sysroot), and an emulator for what is built. The phone itself is built with the NDK's own
# toolchain file.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/arm-linux-gnueabihf)

set(ATD_ARM_SYSROOT "${CMAKE_BINARY_DIR}/sysroot" CACHE PATH "The unpacked armhf packages")
# The checks of the compiler are projects of their own, which read this file again.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ATD_ARM_SYSROOT)

# Of the machine itself only the programs are used: its libraries are for another processor.
set(CMAKE_FIND_ROOT_PATH "${ATD_ARM_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${ATD_ARM_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR} "${ATD_ARM_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig")

set(CMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES
  "${ATD_ARM_SYSROOT}/usr/include" "${ATD_ARM_SYSROOT}/usr/include/arm-linux-gnueabihf")
# GCC warns that its version 7 changed the calling convention. One compiler builds all of this, so that is harmless.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)
foreach(kind EXE SHARED)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-L${ATD_ARM_SYSROOT}/usr/lib/arm-linux-gnueabihf")
endforeach()

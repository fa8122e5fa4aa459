# 32-bit ARM Linux, built on another machine against a sysroot: the target's libraries and headers.
# The default is the one that tools/make_arm_sysroot.sh makes (Debian 12, armhf, Qt 5). For another
# target give, at the first configuration:
#   -DVELKOR_ARM_SYSROOT=<folder>   its sysroot
#   -DVELKOR_ARM_TRIPLET=<triplet>  what its compiler is called, without "-g++"; a path may be before
#   -DVELKOR_ARM_EMULATOR=<command> what runs its programs here, as a list; empty: nothing does

cmake_path(SET velkor_default_sysroot NORMALIZE ${CMAKE_CURRENT_LIST_DIR}/../build/arm-sysroot)
set(VELKOR_ARM_SYSROOT ${velkor_default_sysroot} CACHE PATH "The target's libraries and headers")
set(VELKOR_ARM_TRIPLET arm-linux-gnueabihf CACHE STRING "The compiler's name without -g++")
set(VELKOR_ARM_EMULATOR "qemu-arm-static;-L;${VELKOR_ARM_SYSROOT}" CACHE STRING
    "What runs the target's programs on this machine")
# CMake reads this file again, in a project of its own, for each of its checks.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES
    VELKOR_ARM_SYSROOT VELKOR_ARM_TRIPLET VELKOR_ARM_EMULATOR)

if(NOT IS_DIRECTORY ${VELKOR_ARM_SYSROOT}/usr)
    message(FATAL_ERROR
        "There is no sysroot in ${VELKOR_ARM_SYSROOT}. tools/make_arm_sysroot.sh makes one; "
        "-DVELKOR_ARM_SYSROOT=<folder> names another.")
endif()

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_CXX_COMPILER ${VELKOR_ARM_TRIPLET}-g++)
set(CMAKE_SYSROOT ${VELKOR_ARM_SYSROOT})
# GCC 7 changed how some arguments are passed, and says so at 240 places. Everything here is built
# by one compiler.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)

# Programs are taken from this machine, everything else from the sysroot.
set(CMAKE_FIND_ROOT_PATH ${VELKOR_ARM_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR ${VELKOR_ARM_EMULATOR})

# Cross build for AArch64 with Debian's g++-aarch64-linux-gnu; programs run
# under qemu-user, so CTest runs the test suite as it would natively.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
# The target's libraries: Debian's cross C library, and GoogleTest as
# `make test-aarch64` builds it from /usr/src/googletest.
get_filename_component(FLOWER_AARCH64_DEPS ${CMAKE_CURRENT_LIST_DIR}/../build/aarch64-deps ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH /usr/aarch64-linux-gnu ${FLOWER_AARCH64_DEPS})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L /usr/aarch64-linux-gnu)

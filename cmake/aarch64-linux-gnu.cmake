# Cross-build for 64-bit Arm Linux with Debian's g++-aarch64-linux-gnu.
# GoogleTest and the image libraries come from Debian's multiarch ":arm64"
# packages under /usr/lib/aarch64-linux-gnu; programs run under qemu-user
# with / as their root, so the arm64 C library, maths library and C++
# runtime are Debian's own arm64 builds (libc6:arm64, libstdc++6:arm64).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

# Host programs (cmake, nm, pkg-config) from the host; libraries, headers
# and packages only where the arm64 ones live.
set(CMAKE_FIND_ROOT_PATH /usr/aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

find_program(OX_QEMU_AARCH64 qemu-aarch64 REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${OX_QEMU_AARCH64} -L /)

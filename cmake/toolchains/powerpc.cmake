# The unit: 32-bit big-endian PowerPC. Debian has the compiler and the C library for it, but no other library:
# scripts/target.sh puts iniparser into the folder below.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ppc)
set(CMAKE_C_COMPILER powerpc-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER powerpc-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/bin/qemu-ppc)
set(CMAKE_FIND_ROOT_PATH ${CMAKE_SOURCE_DIR}/build/powerpc-libraries)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)

# 64-bit big-endian: together with powerpc it separates mistakes of byte order from those of width.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(CMAKE_C_COMPILER s390x-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER s390x-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/bin/qemu-s390x)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)

# Cross compilation with Debian's own compilers: the second half of the toolchain files, each of which
# sets `gnu_type`, `debian_architecture` and `emulator` first. scripts/build-board.sh fills the
# sysroot; the C and C++ libraries are those of the cross compiler.
set(CMAKE_SYSTEM_NAME Linux)

set(CMAKE_C_COMPILER ${gnu_type}-gcc)
set(CMAKE_CXX_COMPILER ${gnu_type}-g++)

set(CMAKE_FIND_ROOT_PATH ${CMAKE_CURRENT_LIST_DIR}/../build/${debian_architecture}-sysroot)
if(NOT EXISTS ${CMAKE_FIND_ROOT_PATH})
    message(FATAL_ERROR "There is no sysroot yet: \
scripts/build-board.sh ${debian_architecture} sysroot makes it.")
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR ${emulator} -L /usr/${gnu_type})

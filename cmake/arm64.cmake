# For a 64-bit ARM board.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(debian_architecture arm64)
set(gnu_type aarch64-linux-gnu)
set(emulator qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)

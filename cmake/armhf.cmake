# For a 32-bit ARM board with hardware floating point.
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(debian_architecture armhf)
set(gnu_type arm-linux-gnueabihf)
set(emulator qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)

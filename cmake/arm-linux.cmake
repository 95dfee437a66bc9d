# arm-linux.cmake - for 32-bit ARM, with KXC_ARM_ABI=gnueabi (without a floating-point unit) or gnueabihf (with one).
# Programs run under qemu's user emulation, so that ctest runs the tests.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KXC_ARM_ABI)
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-${KXC_ARM_ABI})
set(CMAKE_C_COMPILER arm-linux-${KXC_ARM_ABI}-gcc)
set(CMAKE_CXX_COMPILER arm-linux-${KXC_ARM_ABI}-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/arm-linux-${KXC_ARM_ABI})
# GCC 7 changed how some vectors' iterators are passed; nothing that is linked here is older.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)

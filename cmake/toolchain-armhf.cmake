# Cross build for the board: ARMv7, hard float. The headers and libraries come from the root that scripts/debian-root makes
# of this machine's own Debian release, because they belong to its compiler; KORABRIDGE_ARMHF_SYSROOT names another root.
# Programs that the build runs (the IDL compiler) are the host's; programs that it made run under qemu.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

if(NOT DEFINED ENV{KORABRIDGE_ARMHF_SYSROOT})
  execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/../scripts/debian-root armhf
    OUTPUT_VARIABLE root OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  # This file is read once more for each question to the compiler.
  set(ENV{KORABRIDGE_ARMHF_SYSROOT} ${root})
endif()
set(CMAKE_SYSROOT $ENV{KORABRIDGE_ARMHF_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The one place that says how much longer things take under emulation.
set(KORABRIDGE_TIME_FACTOR 6)
set(CMAKE_CROSSCOMPILING_EMULATOR
  ${CMAKE_CURRENT_LIST_DIR}/../tests/support/in-qemu ${KORABRIDGE_TIME_FACTOR} ${CMAKE_SYSROOT})

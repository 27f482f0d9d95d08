# Cross build for the board: ARMv7, hard float. The headers and libraries come from the root that scripts/sysroot-armhf
# makes; programs that the build runs (the IDL compiler) are the host's; programs that it made run under qemu.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

if(DEFINED ENV{KORABRIDGE_ARMHF_SYSROOT})
  set(CMAKE_SYSROOT $ENV{KORABRIDGE_ARMHF_SYSROOT})
else()
  get_filename_component(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/sysroot-armhf ABSOLUTE)
endif()
if(NOT EXISTS ${CMAKE_SYSROOT}/usr/include)
  message(FATAL_ERROR "No root for the board at ${CMAKE_SYSROOT}: run scripts/sysroot-armhf")
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The one place that says how much longer things take under emulation.
set(KORABRIDGE_TIME_FACTOR 6)
set(CMAKE_CROSSCOMPILING_EMULATOR
  ${CMAKE_CURRENT_LIST_DIR}/../tests/support/in-qemu ${KORABRIDGE_TIME_FACTOR} ${CMAKE_SYSROOT})

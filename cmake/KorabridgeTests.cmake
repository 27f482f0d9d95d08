# Tests: what kinds there are, and how each is run.

set(KORABRIDGE_TIME_FACTOR 1 CACHE STRING "How many times longer than usual a test may take")

# Test code is compiled to be built soon, not to run fast; what it tests is compiled as it ships. Without optimisation the
# C library checks nothing, and would warn of that; SHELL, because CMake drops an option that it has seen before.
add_library(korabridge_test_flags INTERFACE)
target_link_libraries(korabridge_test_flags INTERFACE korabridge_flags GTest::gtest GTest::gmock)
target_include_directories(korabridge_test_flags INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(korabridge_test_flags INTERFACE $<$<CONFIG:RelWithDebInfo>:-O0;-g1;SHELL:-U_FORTIFY_SOURCE>)
if(KORABRIDGE_SANITIZE)
  target_compile_options(korabridge_test_flags INTERFACE -O0)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # g++ 12 warns of std::string's own copies when that header comes precompiled.
  target_compile_options(korabridge_test_flags INTERFACE
    -Wno-array-bounds -Wno-restrict -Wno-stringop-overflow -Wno-stringop-overread)
  if(KORABRIDGE_UNITY)
    # A file that is compiled with others is an included one, and a fixture in its anonymous namespace would be warned of.
    target_compile_options(korabridge_test_flags INTERFACE -Wno-subobject-linkage)
  endif()
endif()

# The headers that every test reads, compiled once for all test programs. The program is never run.
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/test_headers.cpp CONTENT "int main()\n{\n    return 0;\n}\n")
add_executable(test_headers ${PROJECT_BINARY_DIR}/test_headers.cpp)
target_link_libraries(test_headers PRIVATE korabridge_test_flags)
target_precompile_headers(test_headers PRIVATE
  <gtest/gtest.h> <gmock/gmock.h> <algorithm> <chrono> <condition_variable> <filesystem> <fstream> <functional> <map> <memory>
  <mutex> <optional> <sstream> <string> <thread> <vector>)

add_custom_target(pure_tests)

# What ctest has to know of a kind: how much may run beside it, and when it begins.
function(korabridge_company OUT KIND)
  set(${OUT} "" PARENT_SCOPE)
  if(KIND STREQUAL "timing")
    set(${OUT} RUN_SERIAL TRUE PARENT_SCOPE)
  elseif(KIND STREQUAL "long")
    set(${OUT} PROCESSORS 2 COST 60 PARENT_SCOPE)
  endif()
endfunction()

# One test program of one kind; see korabridge_test.
function(korabridge_test_program NAME KIND)
  cmake_parse_arguments(ARG "" "TIMEOUT;ENVIRONMENT" "SOURCES;LINKS" ${ARGN})
  add_executable(${NAME} ${ARG_SOURCES})
  set(launcher ${PROJECT_SOURCE_DIR}/tests/support/in-namespace ${CMAKE_CROSSCOMPILING_EMULATOR})
  set_target_properties(${NAME} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests
    CROSSCOMPILING_EMULATOR "${launcher}")
  target_link_libraries(${NAME} PRIVATE ${ARG_LINKS} GTest::gtest_main korabridge_test_flags)
  target_precompile_headers(${NAME} REUSE_FROM test_headers)
  if(KORABRIDGE_UNITY)
    set_target_properties(${NAME} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 6)
  endif()
  set(properties TIMEOUT ${ARG_TIMEOUT} LABELS ${KIND})
  # An empty value would be lost on the way and the next name taken for it.
  if(ARG_ENVIRONMENT)
    list(APPEND properties ENVIRONMENT "${ARG_ENVIRONMENT}")
  endif()
  if(KIND STREQUAL "pure")
    add_test(NAME ${NAME} COMMAND ${PROJECT_SOURCE_DIR}/tests/support/in-namespace ${CMAKE_CROSSCOMPILING_EMULATOR}
      $<TARGET_FILE:${NAME}> --gtest_output=xml:${PROJECT_BINARY_DIR}/results/${NAME}.xml)
    set_tests_properties(${NAME} PROPERTIES ${properties})
    add_dependencies(pure_tests ${NAME})
    return()
  endif()
  korabridge_company(company ${KIND})
  gtest_discover_tests(${NAME} TEST_PREFIX "${NAME}." NO_PRETTY_VALUES DISCOVERY_TIMEOUT 120 PROPERTIES ${properties} ${company})
endfunction()

# korabridge_test(NAME [PURE a.cpp ...] [WAITS b.cpp ...] [LONG c.cpp ...] [TIMING d.cpp ...] [SOURCES support.cpp ...]
#                 LINKS lib ... [TIMEOUT s] [ENVIRONMENT NAME=value]): GoogleTest cases by kind, each kind a program and a label.
#   PURE    neither processes nor clocks nor threads that meet: the whole program is one test.
#   WAITS   for something to happen, with a deadline: a process a case, in a network and IPC namespace of its own
#           (tests/support/in-namespace), many at a time.
#   LONG    as WAITS, but many seconds of load on several programs: begun first, with less beside it.
#   TIMING  bounds how long something takes: as WAITS, but nothing else runs beside it.
# The program of the first kind given is NAME, the others are NAME_waits, NAME_long and NAME_timing; SOURCES are shared by all.
function(korabridge_test NAME)
  cmake_parse_arguments(ARG "" "TIMEOUT;ENVIRONMENT" "PURE;WAITS;LONG;TIMING;SOURCES;LINKS" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 60)
  endif()
  math(EXPR ARG_TIMEOUT "${ARG_TIMEOUT} * ${KORABRIDGE_TIME_FACTOR}")
  if(ARG_SOURCES)
    add_library(${NAME}_shared OBJECT ${ARG_SOURCES})
    target_link_libraries(${NAME}_shared PRIVATE ${ARG_LINKS} korabridge_test_flags)
    list(APPEND ARG_LINKS ${NAME}_shared)
  endif()
  set(program ${NAME})
  foreach(kind PURE WAITS LONG TIMING)
    if(ARG_${kind})
      string(TOLOWER ${kind} label)
      if(program STREQUAL "")
        set(program ${NAME}_${label})
      endif()
      # Where no threads meet, the thread sanitizer has nothing to find.
      if(NOT (KORABRIDGE_SANITIZE STREQUAL "thread" AND kind STREQUAL "PURE"))
        korabridge_test_program(${program} ${label} SOURCES ${ARG_${kind}} LINKS ${ARG_LINKS} TIMEOUT ${ARG_TIMEOUT}
          ENVIRONMENT ${ARG_ENVIRONMENT})
      endif()
      set(program "") # the name is given away
    endif()
  endforeach()
endfunction()

# korabridge_script_test(NAME KIND TIMEOUT s [ENVIRONMENT NAME=value] COMMAND word ...): any other program that tests something.
function(korabridge_script_test NAME KIND)
  cmake_parse_arguments(ARG "" "TIMEOUT;ENVIRONMENT" "COMMAND" ${ARGN})
  math(EXPR ARG_TIMEOUT "${ARG_TIMEOUT} * ${KORABRIDGE_TIME_FACTOR}")
  add_test(NAME ${NAME} COMMAND ${ARG_COMMAND})
  set_tests_properties(${NAME} PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS ${KIND})
  if(ARG_ENVIRONMENT)
    set_tests_properties(${NAME} PROPERTIES ENVIRONMENT "${ARG_ENVIRONMENT}")
  endif()
  korabridge_company(company ${KIND})
  if(company)
    set_tests_properties(${NAME} PROPERTIES ${company})
  endif()
endfunction()

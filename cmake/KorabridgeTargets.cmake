# Helpers that give every target of this project the same language rules, warnings and sanitizers.
include(KorabridgeDepends)

set(KORABRIDGE_SANITIZE "" CACHE STRING "Sanitizers for the whole build: empty, 'address,undefined' or 'thread'")
option(KORABRIDGE_UNITY "Compile the sources of a folder together: sooner from nothing, later after a small change" OFF)
option(KORABRIDGE_PRECOMPILE "Compile the headers that most sources read only once: sooner after a small change" OFF)
option(KORABRIDGE_FUZZ "Instrument for libFuzzer (clang only)" OFF)
option(KORABRIDGE_COVERAGE "Instrument for line and branch coverage (g++ only)" OFF)
option(KORABRIDGE_SHIPPED "What ships: faults of memory end the program, and it is the same bytes wherever it is built" OFF)

if(KORABRIDGE_SHIPPED)
  include(CheckPIESupported)
  check_pie_supported()
  # For generated code as well, and for what is compiled when it is linked. The level is ours, whatever a package build asks
  # for. scripts/check-hardening looks for them.
  set(shipped -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 -fstack-protector-strong -fstack-clash-protection)
  if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
    list(APPEND shipped -fcf-protection)
  endif()
  # Places are told from the project's folder, generated ones from the build's, in the compiler's words as in ccache's, which
  # makes them relative. Of several that match, the last counts.
  cmake_path(RELATIVE_PATH PROJECT_SOURCE_DIR BASE_DIRECTORY ${PROJECT_BINARY_DIR} OUTPUT_VARIABLE upwards)
  foreach(place ${upwards} ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR})
    list(APPEND shipped -ffile-prefix-map=${place}/=)
  endforeach()
  add_compile_options(${shipped})
  add_link_options(${shipped} LINKER:-z,relro LINKER:-z,now)
endif()

add_library(korabridge_flags INTERFACE)
target_compile_options(korabridge_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Wold-style-cast
  -Woverloaded-virtual -Wformat=2 -Wcast-align)
# Source locations in logs and debug information are relative to the project; those of coverage must find the sources.
if(KORABRIDGE_COVERAGE)
  target_compile_options(korabridge_flags INTERFACE -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
elseif(NOT KORABRIDGE_SHIPPED)
  target_compile_options(korabridge_flags INTERFACE -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # g++ 12 reports notes about the ARM calling convention that concern no code of ours.
  target_compile_options(korabridge_flags INTERFACE -Wno-psabi)
endif()
if(KORABRIDGE_SHIPPED)
  # One of them excludes the other, wherever it stands.
  target_link_options(korabridge_flags INTERFACE $<IF:$<BOOL:$<TARGET_PROPERTY:KORABRIDGE_WHOLE>>,-flto=auto,-fno-lto>)
endif()
if(KORABRIDGE_SANITIZE)
  target_compile_options(korabridge_flags INTERFACE -fsanitize=${KORABRIDGE_SANITIZE} -fno-omit-frame-pointer
    -fno-sanitize-recover=all)
  target_link_options(korabridge_flags INTERFACE -fsanitize=${KORABRIDGE_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # g++ 12 loses track of values and of matching new and delete in code that it has instrumented.
    target_compile_options(korabridge_flags INTERFACE -Wno-maybe-uninitialized -Wno-mismatched-new-delete)
  endif()
  if(KORABRIDGE_SANITIZE MATCHES "undefined")
    # The check of dynamic types looks at memory through a pipe of its own: where no descriptor is left for one, it takes
    # every object for a wrong one. Objects that are gone or too short are the address sanitizer's anyway.
    target_compile_options(korabridge_flags INTERFACE -fno-sanitize=vptr)
  endif()
  if(KORABRIDGE_SANITIZE STREQUAL "thread")
    # g++ warns that std::atomic_thread_fence is unknown to the thread sanitizer; we use none.
    target_compile_options(korabridge_flags INTERFACE -Wno-tsan)
  endif()
endif()
if(KORABRIDGE_FUZZ)
  target_compile_options(korabridge_flags INTERFACE -fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer
    -fno-sanitize-recover=all)
  target_link_options(korabridge_flags INTERFACE -fsanitize=address,undefined)
endif()
if(KORABRIDGE_COVERAGE)
  target_compile_options(korabridge_flags INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(korabridge_flags INTERFACE --coverage)
endif()
target_link_libraries(korabridge_flags INTERFACE Threads::Threads)

if(KORABRIDGE_PRECOMPILE)
  file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/product_headers.cpp CONTENT "// Carries the precompiled headers of the product.\n")
  add_library(product_headers OBJECT ${PROJECT_BINARY_DIR}/product_headers.cpp)
  target_link_libraries(product_headers PRIVATE log4cxx korabridge_flags)
  target_precompile_headers(product_headers PRIVATE
    <log4cxx/logger.h> <algorithm> <array> <chrono> <condition_variable> <filesystem> <functional> <map> <memory> <mutex>
    <optional> <ostream> <span> <sstream> <stdexcept> <string> <thread> <unordered_map> <vector>)
endif()

# korabridge_idl(NAME FILE): a library of the C code that the IDL compiler makes of FILE, compiled without our warnings.
function(korabridge_idl NAME FILE)
  find_program(KORABRIDGE_IDLC idlc NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  cmake_path(GET FILE STEM stem)
  set(generated ${CMAKE_CURRENT_BINARY_DIR}/generated)
  file(MAKE_DIRECTORY ${generated})
  add_custom_command(
    OUTPUT ${generated}/${stem}.c ${generated}/${stem}.h
    COMMAND ${KORABRIDGE_IDLC} -f case-sensitive -x final -o ${generated} ${CMAKE_CURRENT_SOURCE_DIR}/${FILE}
    DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${FILE}
    COMMENT "Compiling ${FILE}"
    VERBATIM)
  add_library(${NAME} STATIC ${generated}/${stem}.c ${generated}/${stem}.h)
  target_include_directories(${NAME} SYSTEM PUBLIC ${generated})
  target_link_libraries(${NAME} PUBLIC CycloneDDS::ddsc)
endfunction()

# korabridge_library(NAME SOURCES a.cpp ... [LINKS lib ...] [APART]): one static library per folder. The folders that its
# DEPENDS names are linked; LINKS are the libraries of others. APART: its files use the same short names for different
# things and are never compiled together.
function(korabridge_library NAME)
  cmake_parse_arguments(ARG "APART" "" "SOURCES;LINKS" ${ARGN})
  korabridge_depends_links(depends_links ${NAME} SOURCES ${ARG_SOURCES} LINKS ${ARG_LINKS})
  list(PREPEND ARG_LINKS ${depends_links})
  if(ARG_SOURCES)
    add_library(${NAME} STATIC ${ARG_SOURCES})
    if(KORABRIDGE_UNITY AND NOT ARG_APART)
      set_target_properties(${NAME} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 12)
    endif()
    if(KORABRIDGE_PRECOMPILE)
      target_precompile_headers(${NAME} REUSE_FROM product_headers)
    endif()
    target_include_directories(${NAME} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(${NAME} PUBLIC ${ARG_LINKS} PRIVATE $<BUILD_INTERFACE:korabridge_flags>)
    target_link_libraries(${NAME} PUBLIC Threads::Threads)
    if(KORABRIDGE_SANITIZE)
      target_link_options(${NAME} PUBLIC -fsanitize=${KORABRIDGE_SANITIZE})
    endif()
    if(KORABRIDGE_WHOLE)
      # The compiler writes line tables itself: the assembler, which it leaves them to here, knows of no prefix map.
      target_compile_options(${NAME} PRIVATE -flto=auto -ffat-lto-objects -gno-as-loc-support)
    endif()
  else()
    add_library(${NAME} INTERFACE)
    target_include_directories(${NAME} INTERFACE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${NAME} INTERFACE ${ARG_LINKS})
  endif()
endfunction()

# korabridge_program(NAME SOURCES main.cpp ... LINKS lib ...): a program in build/<preset>/bin.
function(korabridge_program NAME)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
  add_executable(${NAME} ${ARG_SOURCES})
  target_include_directories(${NAME} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${NAME} PRIVATE ${ARG_LINKS} korabridge_flags)
  set_target_properties(${NAME} PROPERTIES KORABRIDGE_WHOLE "${KORABRIDGE_WHOLE}")
endfunction()

# Compiler settings and the helpers that declare rooms and tests.

if(WIN32)
  set(QMSD_SYSTEM windows)
else()
  set(QMSD_SYSTEM linux)
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_program(QMSD_CCACHE ccache)
if(QMSD_CCACHE)
  # Another checkout of the same sources finds the same objects; precompiled headers are cached too.
  set(launcher ${CMAKE_COMMAND} -E env
    CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1
    CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_ctime,include_file_mtime
    ${QMSD_CCACHE})
  set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
endif()

if(QMSD_LINT)
  # Other rules make another command, so that every source is looked at again.
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS .clang-tidy)
  file(MD5 .clang-tidy rules)
  set(CMAKE_CXX_CLANG_TIDY clang-tidy-14 --quiet --extra-arg=-DQMSD_LINT_RULES=0x${rules})
endif()

find_package(Threads REQUIRED)

# How everything in this project is compiled: warnings are errors.
add_library(qmsd_options INTERFACE)
target_include_directories(qmsd_options INTERFACE "${PROJECT_SOURCE_DIR}")
target_compile_options(qmsd_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
target_compile_definitions(qmsd_options INTERFACE
  $<$<BOOL:${QMSD_TRACE}>:QMSD_TRACE> $<$<BOOL:${QMSD_CHECK_LOCKS}>:QMSD_CHECK_LOCKS>)
target_link_libraries(qmsd_options INTERFACE Threads::Threads)
if(WIN32)
  target_compile_definitions(qmsd_options INTERFACE
    UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601)
  # SSE gives both builds the same doubles, and makes the compiler realign the stack of callers that
  # keep it at 4 bytes.
  target_compile_options(qmsd_options INTERFACE -msse2 -mfpmath=sse -mstackrealign)
  target_link_options(qmsd_options INTERFACE -static)
endif()
if(QMSD_COVERAGE)  # Its reports open the sources by their full names.
  target_compile_options(qmsd_options INTERFACE --coverage -fprofile-abs-path -fprofile-update=atomic)
  target_link_options(qmsd_options INTERFACE --coverage)
else()
  # One build gives the same bytes wherever its sources lie.
  target_compile_options(qmsd_options INTERFACE -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
endif()
if(QMSD_FUZZ)
  # The kernel reports its coverage to the fuzzer; the fuzzer itself is linked into each target.
  target_compile_options(qmsd_options INTERFACE -fsanitize=fuzzer-no-link)
  target_link_options(qmsd_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(QMSD_SANITIZE)
  target_compile_options(qmsd_options INTERFACE
    -fsanitize=${QMSD_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
    # GCC takes what the sanitizers add for reads of its own; the other builds keep the warning.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  target_link_options(qmsd_options INTERFACE -fsanitize=${QMSD_SANITIZE})
endif()

# qmsd_room(NAME DIRECTORIES dir... [USES room...]): the static library qmsd_NAME.
function(qmsd_room name)
  cmake_parse_arguments(ROOM "" "" "DIRECTORIES;USES" ${ARGN})
  set(sources "")
  foreach(directory IN LISTS ROOM_DIRECTORIES)
    file(GLOB found CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${directory}/*.cpp")
    list(APPEND sources ${found})
  endforeach()
  add_library(qmsd_${name} STATIC ${sources})
  target_link_libraries(qmsd_${name} PUBLIC qmsd_options)
  foreach(room IN LISTS ROOM_USES)
    target_link_libraries(qmsd_${name} PUBLIC qmsd_${room})
  endforeach()
endfunction()

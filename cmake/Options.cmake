# What a user may set. Everything for developers is off when Reelhaul is part of another project.
string(COMPARE EQUAL "${CMAKE_SOURCE_DIR}" "${CMAKE_CURRENT_SOURCE_DIR}" REELHAUL_TOP_LEVEL)
option(REELHAUL_COMMAND "Build the reelhaul command" ${REELHAUL_TOP_LEVEL})
option(REELHAUL_INSTALL "Make the rules for installation" ${REELHAUL_TOP_LEVEL})
option(REELHAUL_TESTKIT "Build the scripted stand-in for the tool, with which applications test themselves"
       ${REELHAUL_TOP_LEVEL})
option(REELHAUL_EXAMPLES "Build the examples" ${REELHAUL_TOP_LEVEL})
option(REELHAUL_TESTS "Build the tests" ${REELHAUL_TOP_LEVEL})
option(REELHAUL_BENCH "Build the measurements" OFF)
option(REELHAUL_FUZZ "Build the fuzz targets for libFuzzer (clang)" OFF)
option(REELHAUL_WERROR "Treat warnings as errors, as all presets do" OFF)
option(REELHAUL_REFERENCE "Make and install the reference of the interface (Doxygen)" OFF)
option(REELHAUL_SYSTEM_TOOLS "Install links to the system's yt-dlp, ffmpeg and deno instead of copies" OFF)
set(REELHAUL_SANITIZE "" CACHE STRING "Sanitizers, as -fsanitize= takes them")
set(REELHAUL_TOOLS_DIR "" CACHE PATH
    "Folder with yt-dlp, ffmpeg, ffprobe and deno to set up beside the library (scripts/get-tools.sh makes one)")

if(REELHAUL_TOP_LEVEL)
  if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
  endif()
  set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
  set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
  set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
  set(CMAKE_CXX_EXTENSIONS OFF)
  find_program(REELHAUL_CCACHE ccache)
  if(REELHAUL_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    # Without this word ccache passes over whatever is compiled with precompiled headers.
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${REELHAUL_CCACHE})
  endif()
else()
  # The parent's launcher may not know how to cache what is compiled with them.
  set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)
endif()

if(REELHAUL_TOP_LEVEL)
  set(CMAKE_INSTALL_DOCDIR share/doc/reelhaul CACHE PATH "Folder of the documents")
endif()
include(GNUInstallDirs)

set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)
find_package(CURL REQUIRED)
find_package(SQLite3 3.37 REQUIRED)
find_path(RAPIDJSON_INCLUDE_DIR rapidjson/document.h REQUIRED)

# One place for what every target of ours is compiled with.
add_library(reelhaul_flags INTERFACE)
target_compile_features(reelhaul_flags INTERFACE cxx_std_20)
target_compile_options(reelhaul_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast -Wcast-qual
  -Wformat-security -Wunused -Wextra-semi
  $<$<BOOL:${REELHAUL_WERROR}>:-Werror>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # It warns of what its own string library does.
  target_compile_options(reelhaul_flags INTERFACE -Wno-restrict -Wno-array-bounds -Wno-stringop-overflow)
endif()
if(REELHAUL_SANITIZE)
  target_compile_options(reelhaul_flags INTERFACE -fsanitize=${REELHAUL_SANITIZE} -fno-omit-frame-pointer
                         -fno-sanitize-recover=all)
  target_link_options(reelhaul_flags INTERFACE -fsanitize=${REELHAUL_SANITIZE})
endif()
if(REELHAUL_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # Instrumented code hides from gcc what is initialized, in the standard library's own headers first of all.
  target_compile_options(reelhaul_flags INTERFACE -Wno-maybe-uninitialized)
endif()
if(REELHAUL_SANITIZE AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  target_compile_options(reelhaul_flags INTERFACE
    -fsanitize-ignorelist=${CMAKE_CURRENT_LIST_DIR}/sanitizer-ignore.txt)
endif()
if(REELHAUL_FUZZ)
  target_compile_options(reelhaul_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

# The headers that most sources include. Without precompiling, half of the compiler's time goes into reading them. The
# presets "tidy" and "macos-arm64" do without, so that a source which lacks an include is found.
set(REELHAUL_PRECOMPILED <algorithm> <array> <atomic> <chrono> <condition_variable> <cstdio> <cstdlib> <functional> <map>
    <memory> <mutex> <optional> <set> <string> <string_view> <thread> <utility> <vector>)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang" AND (REELHAUL_TESTS OR NOT CMAKE_DISABLE_PRECOMPILE_HEADERS))
  # Otherwise a precompiled header out of ccache is refused as older than its sources.
  target_compile_options(reelhaul_flags INTERFACE "SHELL:-Xclang -fno-pch-timestamp")
endif()

# reelhaul_precompile(KIND HEADER... [LINK TARGET...]) : precompiles once for several programs, which name
# precompiled_KIND in REUSE_FROM.
function(reelhaul_precompile kind)
  cmake_parse_arguments(given "" "" "LINK" ${ARGN})
  set(source ${PROJECT_BINARY_DIR}/generated/precompiled_${kind}.cpp)
  file(CONFIGURE OUTPUT ${source} CONTENT "// Compiled for the headers in front of it.\n")
  add_library(precompiled_${kind} OBJECT ${source})
  target_link_libraries(precompiled_${kind} PRIVATE reelhaul_flags Threads::Threads ${given_LINK})
  target_precompile_headers(precompiled_${kind} PRIVATE ${REELHAUL_PRECOMPILED} ${given_UNPARSED_ARGUMENTS})
endfunction()

# What a Mac has and this system lacks, for the presets that compile for macOS: headers without those of this system's C
# library beside them, stubs of the libcurl and the SQLite that macOS brings along, and GoogleTest compiled from Debian's sources.
# CMake reads this file right after project().
set(system ${CMAKE_BINARY_DIR}/system)
file(MAKE_DIRECTORY ${system}/include)

function(reelhaul_borrow folder header)
  find_path(found_${folder} ${header} PATHS /usr/include /usr/include/${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-gnu
            NO_DEFAULT_PATH REQUIRED)
  file(CREATE_LINK ${found_${folder}}/${folder} ${system}/include/${folder} SYMBOLIC)
endfunction()
reelhaul_borrow(curl curl/curl.h)
reelhaul_borrow(CLI CLI/App.hpp)
find_path(found_sqlite3 sqlite3.h PATHS /usr/include NO_DEFAULT_PATH REQUIRED)
file(CREATE_LINK ${found_sqlite3}/sqlite3.h ${system}/include/sqlite3.h SYMBOLIC)

# Newer compilers refuse an operator in the headers of Debian 12's RapidJSON, which assigns to a constant. Nobody calls it.
find_path(found_rapidjson rapidjson/document.h PATHS /usr/include NO_DEFAULT_PATH REQUIRED)
if(NOT EXISTS ${system}/include/rapidjson)
  file(COPY ${found_rapidjson}/rapidjson DESTINATION ${system}/include)
  file(READ ${system}/include/rapidjson/document.h document)
  string(REGEX REPLACE "GenericStringRef& operator=\\(const GenericStringRef& rhs\\) { s = rhs.s; length = rhs.length; }" ""
         document "${document}")
  file(WRITE ${system}/include/rapidjson/document.h "${document}")
endif()
set(RAPIDJSON_INCLUDE_DIR ${system}/include CACHE PATH "")
set(CLI11_INCLUDE_DIR ${system}/include CACHE PATH "")
set(CMAKE_DISABLE_FIND_PACKAGE_PkgConfig ON)
set(CMAKE_DISABLE_FIND_PACKAGE_Doxygen ON)

# The functions of a library that this one calls, as a text that the linker takes for the library.
function(reelhaul_stub stub library prefix version)
  file(GLOB_RECURSE sources ${PROJECT_SOURCE_DIR}/foundation/*.cpp ${PROJECT_SOURCE_DIR}/foundation/*.h)
  set(functions)
  foreach(source IN LISTS sources)
    file(READ ${source} text)
    string(REGEX MATCHALL "${prefix}_[a-z0-9_]+" found "${text}")
    list(APPEND functions ${found})
  endforeach()
  list(TRANSFORM functions PREPEND "_")
  list(REMOVE_DUPLICATES functions)
  list(JOIN functions ", " functions)
  file(CONFIGURE OUTPUT ${system}/lib/${stub}.tbd CONTENT "--- !tapi-tbd
tbd-version: 4
targets: [ arm64-macos, x86_64-macos ]
install-name: /usr/lib/${library}.dylib
current-version: 9.0.0
compatibility-version: ${version}
exports:
  - targets: [ arm64-macos, x86_64-macos ]
    symbols: [ ${functions} ]
...
")
endfunction()
reelhaul_stub(libcurl libcurl.4 curl 7.0.0)
reelhaul_stub(libsqlite3 libsqlite3 sqlite3 9.0.0)
list(PREPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR}/find)

# Stand-ins for the Mac's copies of the tools, so that the places which they get can be looked at.
if(NOT REELHAUL_TOOLS_DIR)
  foreach(tool yt-dlp ffmpeg ffprobe deno)
    file(WRITE ${system}/tools/${tool} "#!/bin/sh\necho \"stands in for ${tool}\"; exit 1\n")
    file(CHMOD ${system}/tools/${tool} PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
  endforeach()
  set(REELHAUL_TOOLS_DIR ${system}/tools CACHE PATH "" FORCE)
endif()

# CMake asks Apple's development kit whether the loader knows relative names; there is none here.
foreach(kind SHARED_LIBRARY EXECUTABLE)
  foreach(language C CXX)
    set(CMAKE_${kind}_RUNTIME_${language}_FLAG "-Wl,-rpath,")
  endforeach()
endforeach()

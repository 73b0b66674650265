# The library: its objects once, linked into the shared library and, with all symbols in reach, into the tests.
set(REELHAUL_ROOMS foundation model tools cookies options task control)

# The interface, and nothing else: what an application may include.
set(REELHAUL_INCLUDE_DIR ${PROJECT_SOURCE_DIR}/include)
file(GLOB REELHAUL_PUBLIC_HEADER_FILES CONFIGURE_DEPENDS ${REELHAUL_INCLUDE_DIR}/Reelhaul/*.h)

set(sources)
set(header_folders ${REELHAUL_INCLUDE_DIR}/Reelhaul)
foreach(room IN LISTS REELHAUL_ROOMS)
  file(GLOB_RECURSE found CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${room}/*.cpp)
  list(APPEND sources ${found})
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${room}/*.h)
  foreach(header IN LISTS headers)
    get_filename_component(folder ${header} DIRECTORY)
    list(APPEND header_folders ${folder})
  endforeach()
endforeach()
list(REMOVE_DUPLICATES header_folders)
include(${CMAKE_CURRENT_LIST_DIR}/Providers.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/Extensions.cmake)
if(APPLE)
  list(FILTER sources EXCLUDE REGEX "\\.linux\\.cpp$")
else()
  list(FILTER sources EXCLUDE REGEX "\\.macos\\.cpp$")
endif()

add_library(reelhaul_objects OBJECT ${sources})
set_target_properties(reelhaul_objects PROPERTIES
  POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON CXX_EXTENSIONS OFF)
target_include_directories(reelhaul_objects PUBLIC ${header_folders})
target_include_directories(reelhaul_objects SYSTEM PRIVATE ${RAPIDJSON_INCLUDE_DIR})
target_compile_definitions(reelhaul_objects PRIVATE REELHAUL_VERSION_TEXT="${PROJECT_VERSION}")
# Threads run on while the process ends: no object of the library may be gone by then.
target_compile_options(reelhaul_objects PRIVATE $<$<CXX_COMPILER_ID:Clang,AppleClang>:-Wexit-time-destructors>)
target_link_libraries(reelhaul_objects PUBLIC reelhaul_flags Threads::Threads ${CMAKE_DL_LIBS}
                      PRIVATE CURL::libcurl SQLite::SQLite3)

target_precompile_headers(reelhaul_objects PRIVATE ${REELHAUL_PRECOMPILED})

if(REELHAUL_TOP_LEVEL AND DEFINED BUILD_SHARED_LIBS AND NOT BUILD_SHARED_LIBS)
  message(FATAL_ERROR "Reelhaul is a shared library only: it finds the copies of the tools beside its own file")
endif()
add_library(reelhaul SHARED)
add_library(Reelhaul::Reelhaul ALIAS reelhaul)
target_sources(reelhaul PRIVATE $<TARGET_OBJECTS:reelhaul_objects>)
target_link_libraries(reelhaul PRIVATE reelhaul_flags CURL::libcurl SQLite::SQLite3 ${CMAKE_DL_LIBS} Threads::Threads)
target_compile_features(reelhaul INTERFACE cxx_std_17)
target_include_directories(reelhaul INTERFACE $<BUILD_INTERFACE:${REELHAUL_INCLUDE_DIR}>)
set_target_properties(reelhaul PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
  LINKER_LANGUAGE CXX)

# On macOS an application takes the library with it as a framework, the headers and the tools in it.
if(APPLE)
  set(module_map ${PROJECT_SOURCE_DIR}/cmake/macos/module.modulemap)
  target_sources(reelhaul PRIVATE ${REELHAUL_PUBLIC_HEADER_FILES} ${module_map})
  set_source_files_properties(${module_map} PROPERTIES MACOSX_PACKAGE_LOCATION Modules)
  add_custom_command(TARGET reelhaul POST_BUILD VERBATIM
    COMMAND ${CMAKE_COMMAND} -E create_symlink Versions/Current/Modules $<TARGET_BUNDLE_DIR:reelhaul>/Modules)
  set_target_properties(reelhaul PROPERTIES FRAMEWORK ON FRAMEWORK_VERSION A OUTPUT_NAME Reelhaul
    PUBLIC_HEADER "${REELHAUL_PUBLIC_HEADER_FILES}" MACOSX_FRAMEWORK_IDENTIFIER reelhaul.Reelhaul
    BUILD_WITH_INSTALL_NAME_DIR ON INSTALL_NAME_DIR @rpath
    MACOSX_FRAMEWORK_SHORT_VERSION_STRING ${PROJECT_VERSION} MACOSX_FRAMEWORK_BUNDLE_VERSION ${PROJECT_VERSION})
endif()

# A plug-in that links the library may be unloaded while a thread of the library runs: the library stays. (On macOS it
# sees to that itself.)
if(NOT APPLE)
  target_link_options(reelhaul PRIVATE -Wl,-z,nodelete)
endif()

# Templates of the standard library are visible by their own headers' wish; they are no interface of ours.
if(NOT APPLE)
  target_link_options(reelhaul PRIVATE -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/exports.map)
  set_property(TARGET reelhaul APPEND PROPERTY LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/exports.map)
endif()

# The built-in copies of the tools stand beside the library.
if(REELHAUL_TOOLS_DIR)
  add_custom_target(reelhaul_tools ALL
    COMMAND ${CMAKE_COMMAND} -DFROM=${REELHAUL_TOOLS_DIR} -DTO=$<TARGET_FILE_DIR:reelhaul>
            -P ${PROJECT_SOURCE_DIR}/cmake/SetUpTools.cmake
    VERBATIM)
endif()

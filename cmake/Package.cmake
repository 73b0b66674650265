# The Debian packages, one of each part of the installation: scripts/package.sh.
set(CPACK_PACKAGE_NAME reelhaul)
set(CPACK_PACKAGE_CONTACT "Reelhaul maintainers <maintainers@reelhaul.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_THREADS 0)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME reelhaul)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION video)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
# What an application's package learns from "dpkg-shlibdeps": the version from which on it can run.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
if(REELHAUL_SYSTEM_TOOLS)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "ffmpeg, yt-dlp (>= 2025.11)")
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS deno)
  set(brought "It runs the system's yt-dlp and ffmpeg.")
else()
  # The copy of yt-dlp is a Python program; ffmpeg's copy is a link to the system's.
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "ffmpeg, python3 (>= 3.11)")
  set(brought "It brings along copies of yt-dlp and deno, and runs the system's ffmpeg.")
endif()
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "A library with which desktop applications analyse and download online\nmedia, and the command reelhaul.\n${brought}")
# The link in the system's library folder has to reach the loader's cache.
file(WRITE ${PROJECT_BINARY_DIR}/install/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/install/triggers)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libreelhaul-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "reelhaul (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "Headers, CMake and pkg-config files of the library Reelhaul, its guide\nand reference, examples, and a kit with which applications test\nthemselves.")

# What the policy wants beside the files of the installation.
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/package/Policy.cmake)
set(CPACK_REELHAUL_SYSTEM_TOOLS ${REELHAUL_SYSTEM_TOOLS})
set(CPACK_REELHAUL_SOURCE_DIR ${PROJECT_SOURCE_DIR})
include(CPack)

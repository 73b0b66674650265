# The Debian package: cpack -G DEB, or scripts/package.sh.
set(CPACK_PACKAGE_NAME reelhaul)
set(CPACK_PACKAGE_CONTACT "Reelhaul maintainers <maintainers@reelhaul.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_THREADS 0)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"A library with which desktop applications analyse and download online
media, the command reelhaul, what is needed to build against the library,
a kit for tests, and the copies of yt-dlp and deno that it runs.")
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
# The copy of yt-dlp is a Python program; ffmpeg's copy is a link to the system's.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "ffmpeg, python3 (>= 3.11)")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
# The link in the system's library folder has to reach the loader's cache.
file(WRITE ${PROJECT_BINARY_DIR}/install/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/install/triggers)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)

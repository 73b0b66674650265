# Where things go. The library stands in a folder of its own beneath the system's, since the built-in copies of the
# tools stand beside it; a link in the system's folder leads there.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(home ${CMAKE_INSTALL_LIBDIR}/reelhaul)
install(TARGETS reelhaul EXPORT ReelhaulTargets LIBRARY DESTINATION ${home})
install(FILES ${REELHAUL_PUBLIC_HEADER_FILES} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/Reelhaul)
target_include_directories(reelhaul INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
if(NOT APPLE)
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/install)
  foreach(link libreelhaul.so libreelhaul.so.${PROJECT_VERSION_MAJOR})
    file(CREATE_LINK reelhaul/${link} ${PROJECT_BINARY_DIR}/install/${link} SYMBOLIC)
    install(FILES ${PROJECT_BINARY_DIR}/install/${link} DESTINATION ${CMAKE_INSTALL_LIBDIR})
  endforeach()
endif()
if(REELHAUL_TOOLS_DIR)
  install(PROGRAMS ${REELHAUL_TOOLS_DIR}/yt-dlp DESTINATION ${home})
  install(CODE "
    foreach(tool ffmpeg ffprobe deno)
      file(REAL_PATH \"${REELHAUL_TOOLS_DIR}/\${tool}\" real)
      set(folder \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${home}\")
      if(real MATCHES \"^/usr/\")
        file(CREATE_LINK \"\${real}\" \"\${folder}/\${tool}\" SYMBOLIC)
      else()
        file(INSTALL \"\${real}\" DESTINATION \"\${folder}\" USE_SOURCE_PERMISSIONS)
      endif()
    endforeach()")
endif()
if(REELHAUL_COMMAND)
  install(TARGETS reelhaul_command RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(DIRECTORY ${PROJECT_BINARY_DIR}/share/ DESTINATION ${CMAKE_INSTALL_DATADIR})
endif()
install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR} FILES_MATCHING PATTERN "*.md")

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/Reelhaul)
install(EXPORT ReelhaulTargets NAMESPACE Reelhaul:: DESTINATION ${package})
set_target_properties(reelhaul PROPERTIES EXPORT_NAME Reelhaul)
configure_package_config_file(cmake/ReelhaulConfig.cmake.in ${PROJECT_BINARY_DIR}/install/ReelhaulConfig.cmake
                              INSTALL_DESTINATION ${package})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/install/ReelhaulConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/install/ReelhaulConfig.cmake
              ${PROJECT_BINARY_DIR}/install/ReelhaulConfigVersion.cmake DESTINATION ${package})
# Found from the file's own place, since the prefix may be named as late as at the installation.
file(RELATIVE_PATH prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/reelhaul.pc.in ${PROJECT_BINARY_DIR}/install/reelhaul.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/install/reelhaul.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

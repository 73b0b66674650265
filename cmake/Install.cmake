# Where things go, in two parts: "runtime" for the people who run applications, "development" for who makes them. The library
# stands in a folder of its own beneath the system's, since the built-in copies of the tools stand beside it; a link in the
# system's folder leads there. On macOS the framework is that folder.
include(CMakePackageConfigHelpers)

set(home ${CMAKE_INSTALL_LIBDIR}/reelhaul)
set(testkit ${home}/testkit)
set(link_flags "-L\${libdir} -lreelhaul")
if(APPLE)
  set(home ${CMAKE_INSTALL_LIBDIR}/Reelhaul.framework/Versions/A)
  set(link_flags "-F\${libdir} -framework Reelhaul")
endif()
install(TARGETS reelhaul EXPORT ReelhaulTargets
        LIBRARY DESTINATION ${home} COMPONENT runtime NAMELINK_COMPONENT development
        FRAMEWORK DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime)
install(FILES ${REELHAUL_PUBLIC_HEADER_FILES} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/Reelhaul COMPONENT development)
target_include_directories(reelhaul INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
if(NOT APPLE)
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/install)
  foreach(link libreelhaul.so:development libreelhaul.so.${PROJECT_VERSION_MAJOR}:runtime)
    string(REGEX MATCH "(.*):(.*)" link ${link})
    file(CREATE_LINK reelhaul/${CMAKE_MATCH_1} ${PROJECT_BINARY_DIR}/install/${CMAKE_MATCH_1} SYMBOLIC)
    install(FILES ${PROJECT_BINARY_DIR}/install/${CMAKE_MATCH_1} DESTINATION ${CMAKE_INSTALL_LIBDIR}
            COMPONENT ${CMAKE_MATCH_2})
  endforeach()
endif()
if(REELHAUL_SYSTEM_TOOLS)
  set(copies)
  set(linked yt-dlp ffmpeg ffprobe deno)
elseif(REELHAUL_TOOLS_DIR)
  set(copies yt-dlp)
  set(linked)
  foreach(tool ffmpeg ffprobe deno)
    file(REAL_PATH ${REELHAUL_TOOLS_DIR}/${tool} real)
    if(real MATCHES "^/usr/bin/")
      list(APPEND linked ${tool})
    else()
      list(APPEND copies ${tool})
    endif()
  endforeach()
endif()
if(REELHAUL_SYSTEM_TOOLS OR REELHAUL_TOOLS_DIR)
  foreach(tool IN LISTS copies)
    file(REAL_PATH ${REELHAUL_TOOLS_DIR}/${tool} real)
    install(PROGRAMS ${real} DESTINATION ${home} RENAME ${tool} COMPONENT runtime)
  endforeach()
  # What a package holds beneath /usr leads to the system's programs by a relative link, as its policy wants.
  install(CODE "
    set(folder \"\${CMAKE_INSTALL_PREFIX}/${home}\")
    foreach(tool ${linked})
      set(to /usr/bin/\${tool})
      if(CMAKE_INSTALL_PREFIX STREQUAL \"/usr\")
        file(RELATIVE_PATH to \${folder} \${to})
      endif()
      file(CREATE_LINK \${to} \"\$ENV{DESTDIR}\${folder}/\${tool}\" SYMBOLIC)
    endforeach()" COMPONENT runtime)
endif()
install(TARGETS reelhaul_browser_host RUNTIME DESTINATION ${home})
install(DIRECTORY $<TARGET_FILE_DIR:reelhaul>/browser-extension DESTINATION ${home})
install(FILES $<TARGET_FILE_DIR:reelhaul>/reelhaul-cookies.zip $<TARGET_FILE_DIR:reelhaul>/reelhaul-cookies.xpi
        DESTINATION ${home})
if(REELHAUL_COMMAND)
  install(TARGETS reelhaul_command RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
endif()
if(REELHAUL_TESTKIT)
  install(TARGETS scripted_tool RUNTIME DESTINATION ${testkit} COMPONENT development)
  install(FILES tests/tool/README.md ${PROJECT_BINARY_DIR}/tests/tool/ffmpeg DESTINATION ${testkit} COMPONENT development)
  install(DIRECTORY tests/tool/sites DESTINATION ${testkit} COMPONENT development)
endif()
# Laid out as in the source tree, so that their links lead somewhere.
install(FILES README.md CHANGELOG.md SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development FILES_MATCHING PATTERN "*.md" PATTERN "*.png")
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development
        FILES_MATCHING PATTERN "*.cpp" PATTERN "*.h")
if(REELHAUL_REFERENCE)
  install(DIRECTORY ${PROJECT_BINARY_DIR}/reference/html/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/reference
          COMPONENT development)
endif()

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/Reelhaul)
install(EXPORT ReelhaulTargets NAMESPACE Reelhaul:: DESTINATION ${package} COMPONENT development)
set_target_properties(reelhaul PROPERTIES EXPORT_NAME Reelhaul)
configure_package_config_file(cmake/ReelhaulConfig.cmake.in ${PROJECT_BINARY_DIR}/install/ReelhaulConfig.cmake
                              INSTALL_DESTINATION ${package} PATH_VARS testkit)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/install/ReelhaulConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/install/ReelhaulConfig.cmake
              ${PROJECT_BINARY_DIR}/install/ReelhaulConfigVersion.cmake DESTINATION ${package} COMPONENT development)
# Found from the file's own place, since the prefix may be named as late as at the installation.
file(RELATIVE_PATH prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/reelhaul.pc.in ${PROJECT_BINARY_DIR}/install/reelhaul.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/install/reelhaul.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)

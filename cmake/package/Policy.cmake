# Puts into the staged packages what Debian's policy wants and an installation elsewhere doesn't need: compressed manual page and
# changelogs, the file "copyright", and the reasons for what lintian objects to. CPack runs it before it packs.
set(runtime ${CPACK_TEMPORARY_DIRECTORY}/runtime/usr/share)
set(development ${CPACK_TEMPORARY_DIRECTORY}/development/usr/share)
set(from ${CMAKE_CURRENT_LIST_DIR})
set(doc ${runtime}/doc/reelhaul)

string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(MAKE_DIRECTORY ${doc} ${runtime}/lintian/overrides ${development}/doc)
configure_file(${CPACK_REELHAUL_SOURCE_DIR}/CHANGELOG.md ${doc}/changelog COPYONLY)
file(WRITE ${doc}/changelog.Debian
"reelhaul (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium

  * Made by scripts/package.sh; what is new stands in changelog.gz.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
foreach(work rapidjson:rapidjson cli11:libcli11)
  string(REGEX MATCH "(.*):(.*)" work ${work})
  configure_file(/usr/share/doc/${CMAKE_MATCH_2}-dev/copyright ${doc}/copyright.${CMAKE_MATCH_1} COPYONLY)
endforeach()
if(CPACK_REELHAUL_SYSTEM_TOOLS)
  file(READ ${from}/copyright text)
  string(REGEX REPLACE "\n\nFiles: [^\n]*/(yt-dlp|deno)\n.*" "\n" text "${text}")
  file(WRITE ${doc}/copyright "${text}")
else()
  configure_file(${from}/copyright ${doc}/copyright COPYONLY)
endif()
configure_file(${from}/lintian-overrides.runtime ${runtime}/lintian/overrides/reelhaul COPYONLY)
configure_file(${from}/lintian-overrides.development ${development}/lintian/overrides/libreelhaul-dev COPYONLY)
file(GLOB files ${doc}/changelog* ${runtime}/man/man1/reelhaul.1)
execute_process(COMMAND gzip -9n ${files} COMMAND_ERROR_IS_FATAL ANY)
# Both packages are made at once, so one "copyright" and changelog serve for both.
file(CREATE_LINK reelhaul ${development}/doc/libreelhaul-dev SYMBOLIC)

# Makes the table of TV providers from data/providers.tsv (id, tab, name), and refuses a damaged one.
set(providers_file ${PROJECT_SOURCE_DIR}/data/providers.tsv)
set(providers_count 434)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${providers_file})

file(STRINGS ${providers_file} provider_lines ENCODING UTF-8)
set(provider_ids)
set(provider_names)
set(provider_rows "")
foreach(line IN LISTS provider_lines)
  # Nothing that has a meaning in a C++ text, nor in a CMake list.
  if(NOT line MATCHES "^([^\t\"\\;]+)\t([^\t\"\\;]+)$")
    message(FATAL_ERROR "${providers_file}: no provider is told by the line \"${line}\"")
  endif()
  list(APPEND provider_ids "${CMAKE_MATCH_1}")
  list(APPEND provider_names "${CMAKE_MATCH_2}")
  string(APPEND provider_rows "    {\"${CMAKE_MATCH_1}\", \"${CMAKE_MATCH_2}\"},\n")
endforeach()
foreach(column provider_ids provider_names)
  list(LENGTH ${column} count)
  set(unique ${${column}})
  list(REMOVE_DUPLICATES unique)
  list(LENGTH unique unique_count)
  if(NOT count EQUAL providers_count OR NOT unique_count EQUAL providers_count)
    message(FATAL_ERROR "${providers_file}: ${count} rows, ${unique_count} different ${column};"
                        " ${providers_count} are expected of both")
  endif()
endforeach()

set(providers_source ${PROJECT_BINARY_DIR}/generated/HVProviderTable.cpp)
file(CONFIGURE OUTPUT ${providers_source} @ONLY CONTENT "// Made from data/providers.tsv by the build.
#include \"HVProviderTable.h\"

namespace Halvorn {

static_assert(HVProviderCount == @providers_count@);

HVProvider const HVProviderTable[HVProviderCount + 1] = {
@provider_rows@    {nullptr, nullptr}};

} // namespace Halvorn
")
list(APPEND sources ${providers_source})

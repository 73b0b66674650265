# Puts the extensions that the tool is run with, tools/extension/*.py, into the library: each as one text.
function(add_extension_text file symbol)
  set(path ${PROJECT_SOURCE_DIR}/tools/extension/${file})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${path})
  file(READ ${path} text)
  set(source ${PROJECT_BINARY_DIR}/generated/${symbol}.cpp)
  file(CONFIGURE OUTPUT ${source} @ONLY CONTENT "// Made from tools/extension/@file@ by the build.
#include \"HVExtension.h\"

namespace Halvorn {

char const @symbol@[] = R\"PY(@text@)PY\";

} // namespace Halvorn
")
  set(sources ${sources} ${source} PARENT_SCOPE)
endfunction()
add_extension_text(reelhaul_cookies.py HVCookiesGuardText)
add_extension_text(reelhaul_keep.py HVToolKeepText)
add_extension_text(reelhaul_rate.py HVToolRateText)
add_extension_text(reelhaul_report.py HVToolReportText)
add_extension_text(reelhaul_warm.py HVWarmToolText)
add_extension_text(_reelhaul_basis.py HVWarmToolBasisText)
add_extension_text(_reelhaul_link.py HVWarmToolLinkText)
add_extension_text(_reelhaul_load.py HVWarmToolLoadText)
add_extension_text(_reelhaul_run.py HVWarmToolRunText)

# Puts tools/extension/reelhaul_cookies.py, the extension that the tool is run with, into the library.
set(guard_file ${PROJECT_SOURCE_DIR}/tools/extension/reelhaul_cookies.py)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${guard_file})
file(READ ${guard_file} guard_text)

set(guard_source ${PROJECT_BINARY_DIR}/generated/HVCookiesGuardText.cpp)
file(CONFIGURE OUTPUT ${guard_source} @ONLY CONTENT "// Made from tools/extension/reelhaul_cookies.py by the build.
#include \"HVCookiesGuard.h\"

namespace Halvorn {

char const HVCookiesGuardText[] = R\"PY(@guard_text@)PY\";

} // namespace Halvorn
")
list(APPEND sources ${guard_source})

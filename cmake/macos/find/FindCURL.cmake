# See System.cmake in the folder above.
add_library(CURL::libcurl INTERFACE IMPORTED)
target_include_directories(CURL::libcurl INTERFACE ${CMAKE_BINARY_DIR}/system/include)
target_link_libraries(CURL::libcurl INTERFACE ${CMAKE_BINARY_DIR}/system/lib/libcurl.tbd)
set(CURL_FOUND TRUE)

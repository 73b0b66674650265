# See System.cmake in the folder above.
add_library(SQLite::SQLite3 INTERFACE IMPORTED)
target_include_directories(SQLite::SQLite3 INTERFACE ${CMAKE_BINARY_DIR}/system/include)
target_link_libraries(SQLite::SQLite3 INTERFACE ${CMAKE_BINARY_DIR}/system/lib/libsqlite3.tbd)
set(SQLite3_FOUND TRUE)

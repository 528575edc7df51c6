# The sources that only macOS compiles, read by clang.
add_test(NAME macos.syntax COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/macos/syntax_test.py ${PROJECT_BINARY_DIR})
set_tests_properties(macos.syntax PROPERTIES TIMEOUT 600 LABELS macos COST 15)

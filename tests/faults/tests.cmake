# What tools/faults runs: one operation of the product in a process that does nothing else.
add_executable(faults-subject
    faults/Install.cpp
    faults/LaunchChild.cpp
    faults/main.cpp
    faults/Operations.h
    faults/SaveIdentity.cpp
    faults/StoreSetting.cpp)
target_include_directories(faults-subject PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/support
    ${PROJECT_SOURCE_DIR}/platform/install/posix)
target_link_libraries(faults-subject PRIVATE ferrolt_config ferrolt_install ferrolt_paths ferrolt_test_installation ferrolt_test_build)
target_precompile_headers(faults-subject REUSE_FROM test-headers)
set_target_properties(faults-subject PROPERTIES AUTOMOC OFF RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)

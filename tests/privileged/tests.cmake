# A set-user-id program is run by the system's loader: no sanitizer's library, whatever the preset is.
add_executable(pkexec-stand-in privileged/prompt_stand_in.cpp)
set_target_properties(pkexec-stand-in PROPERTIES AUTOMOC OFF RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
target_link_options(pkexec-stand-in PRIVATE -static)

# One run of the test for each of the users of private_system.sh.
set(private_system ${CMAKE_CURRENT_SOURCE_DIR}/privileged/private_system.sh ${PROJECT_BINARY_DIR})
ferrolt_test_program(privileged-tests LINKS ferrolt_test_installation ferrolt_supervisor ferrolt_paths)
add_dependencies(privileged-tests ferrolt-miner-launcher pkexec-stand-in)
ferrolt_test(privileged PrivilegedInstallationTest TLS RUN_BY ${private_system} installed)
foreach(user checkout refused unasked bare stand-in)
    add_test(NAME privileged.PrivilegedInstallationTest-${user}
        COMMAND ${private_system} ${user} $<TARGET_FILE:privileged-tests> PrivilegedInstallationTest)
    set_tests_properties(privileged.PrivilegedInstallationTest-${user} PROPERTIES
        TIMEOUT 120 LABELS privileged SKIP_RETURN_CODE 200)
endforeach()

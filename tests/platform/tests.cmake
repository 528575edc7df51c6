ferrolt_test(platform HttpSessionTest LINKS ferrolt_platform ferrolt_test_server)

# What an installation needs of the system.
ferrolt_test(platform PrivilegedCommandTest LINKS ferrolt_platform)
ferrolt_test(platform RemoveTreeTest LINKS ferrolt_platform ferrolt_test_images)
ferrolt_test(platform ToolRunnerTest LINKS ferrolt_platform ferrolt_test_images)
if(NOT APPLE)
    foreach(test DiskImageTest DiskImageToolTest PkexecCopyTest)
        ferrolt_test(platform ${test} LINKS ferrolt_platform ferrolt_test_images)
        target_include_directories(${test} PRIVATE ${PROJECT_SOURCE_DIR}/platform/linux)
    endforeach()
endif()

# What an installation needs of the system.
ferrolt_test(platform/install PrivilegedCommandTest LINKS ferrolt_install)
ferrolt_test(platform/install ToolRunnerTest LINKS ferrolt_install ferrolt_test_images)
if(NOT APPLE)
    foreach(test DiskImageTest DiskImageToolTest PkexecCopyTest)
        ferrolt_test(platform/install ${test} LINKS ferrolt_install ferrolt_test_images)
        target_include_directories(${test} PRIVATE ${PROJECT_SOURCE_DIR}/platform/install/linux)
    endforeach()
    ferrolt_test(platform/install InstallationScriptTest LINKS ferrolt_install ferrolt_test_images
        RUN_BY ${PROJECT_SOURCE_DIR}/tests/privileged/as_root.sh)
    target_include_directories(InstallationScriptTest PRIVATE ${PROJECT_SOURCE_DIR}/platform/install/linux)
    target_compile_definitions(PkexecCopyTest PRIVATE
        FERROLT_INSTALLATION_SCRIPT="${PROJECT_SOURCE_DIR}/platform/install/linux/install-libreoffice")
endif()

# What an installation needs of the system.
ferrolt_test_program(platform-install-tests LINKS ferrolt_install ferrolt_test_images
    DEFINITIONS FERROLT_INSTALLATION_SCRIPT="${PROJECT_SOURCE_DIR}/platform/install/linux/install-libreoffice")
ferrolt_test(platform/install PrivilegedCommandTest)
ferrolt_test(platform/install ToolRunnerTest)
if(NOT APPLE)
    target_include_directories(platform-install-tests PRIVATE ${PROJECT_SOURCE_DIR}/platform/install/linux)
    ferrolt_test(platform/install DiskImageTest COST 10)
    ferrolt_test(platform/install DiskImageToolTest)
    ferrolt_test(platform/install ImageListingTest)
    ferrolt_test(platform/install PkexecCopyTest)
    ferrolt_test(platform/install VolumeUnpackerTest)
    ferrolt_test(platform/install InstallationScriptTest RUN_BY ${PROJECT_SOURCE_DIR}/tests/privileged/as_root.sh)
endif()

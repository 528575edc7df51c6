ferrolt_test_program(updates-tests LINKS ferrolt_test_installation)
foreach(test DeployConfigTest InstallProgressTest MetalinkTest Sha256Test)
    ferrolt_test(updates ${test})
endforeach()
foreach(test InstallerMachineTest InstallerMetalinkTest LibreOfficeInstallerTest UpdaterTest)
    ferrolt_test(updates ${test} TLS)
endforeach()
ferrolt_test(updates InstallerMirrorsTest TLS TIMEOUT 300 COST 30)
ferrolt_test(updates MetalinkHazardsTest TLS TIMEOUT 600 COST 10 LONG_UNDER thread)  # the parser has one thread
if(NOT APPLE)
    target_include_directories(updates-tests PRIVATE ${PROJECT_SOURCE_DIR}/platform/install/linux)
    ferrolt_test(updates InstallerFullDiskTest TLS)
    set_tests_properties(updates.InstallerFullDiskTest PROPERTIES RUN_SERIAL ON)  # it may have to fill /dev/shm
    ferrolt_test(updates InstallerQuitTest TLS COST 10)
    ferrolt_test(updates RealInstallationTest TLS)
endif()

# It puts geteuid() and flock() of its own before the C library's, for all of its program.
ferrolt_test_program(StagingFolderTest LINKS ferrolt_updates ferrolt_test_images ${CMAKE_DL_LIBS})
ferrolt_test(updates StagingFolderTest PROGRAM StagingFolderTest)

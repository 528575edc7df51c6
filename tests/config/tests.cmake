ferrolt_test_program(config-tests LINKS ferrolt_config ferrolt_paths)
set(config_tests ClientConfigurationTemplateTest ConcurrentReaderTest EnginePortTest LoadPropsTest
    PropertiesEntryTest TextFileTest)
if(NOT APPLE)
    # One mounts a file system for a single process, the other watches for the opening of a file.
    list(APPEND config_tests FullDiskTest UnopenedPipeTest)
endif()
foreach(test ${config_tests})
    # Files of 50 MB at a sanitizer's pace on a busy machine.
    ferrolt_test(config ${test} TIMEOUT 300)
endforeach()
foreach(test SaveHazardsTest SavePropsTest)
    ferrolt_test(config ${test} TIMEOUT 300 COST 10 LONG_UNDER thread)  # one thread; ConcurrentReaderTest has two
endforeach()
if(NOT APPLE)
    # It may have to fill /dev/shm.
    set_tests_properties(config.FullDiskTest PROPERTIES RUN_SERIAL ON)
endif()

# It puts a slow fsync() in place of the C library's, for all of its program.
ferrolt_test_program(LauncherPrefsModelTest LINKS ferrolt_config ferrolt_paths)
ferrolt_test(config LauncherPrefsModelTest PROGRAM LauncherPrefsModelTest TIMEOUT 300)

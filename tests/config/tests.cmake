set(config_tests
    ClientConfigurationTemplateTest ConcurrentReaderTest EnginePortTest
    LauncherPrefsModelTest LoadPropsTest PropertiesEntryTest SaveHazardsTest SavePropsTest
    TextFileTest)
if(NOT APPLE)
    # One mounts a file system for a single process, the other watches for the opening of a file.
    list(APPEND config_tests FullDiskTest UnopenedPipeTest)
endif()
foreach(test ${config_tests})
    # Files of 50 MB at a sanitizer's pace on a busy machine.
    ferrolt_test(config ${test} LINKS ferrolt_config ferrolt_paths TIMEOUT 300)
endforeach()
if(NOT APPLE)
    # It may have to fill /dev/shm.
    set_tests_properties(config.FullDiskTest PROPERTIES RUN_SERIAL ON)
endif()

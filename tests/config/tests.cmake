set(config_tests
    EnginePortTest LoadPropsTest MinerIdentityTest PropertiesEntryTest TextFileTest TextLinesTest)
foreach(test ${config_tests})
    # Files of 50 MB at a sanitizer's pace on a busy machine.
    ferrolt_test(config ${test} LINKS ferrolt_config TIMEOUT 300)
endforeach()

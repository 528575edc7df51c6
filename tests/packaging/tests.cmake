string(REPLACE - _ component_id ${FERROLT_REVERSE_DOMAIN})
ferrolt_test_program(packaging-tests LINKS ferrolt_platform Qt6::Svg
    DEFINITIONS
        FERROLT_BUILD="${PROJECT_BINARY_DIR}"
        FERROLT_CMAKE="${CMAKE_COMMAND}"
        FERROLT_COMPONENT_ID="${component_id}"
        FERROLT_CPACK="${CMAKE_CPACK_COMMAND}"
        FERROLT_REVERSE_DOMAIN="${FERROLT_REVERSE_DOMAIN}"
        FERROLT_SOURCES="${PROJECT_SOURCE_DIR}")
add_dependencies(packaging-tests ferrolt-documents ferrolt-miner-launcher)
ferrolt_test(packaging PackageTest OWN_NETWORK COST 10)
# The installed program may come as far as starting the practice engine.
set_tests_properties(packaging.PackageTest PROPERTIES RESOURCE_LOCK port-9877)

ferrolt_test(packaging PackageTest OWN_NETWORK LINKS ferrolt_platform)
add_dependencies(PackageTest ferrolt-miner-launcher)
target_compile_definitions(PackageTest PRIVATE
    FERROLT_BUILD="${PROJECT_BINARY_DIR}"
    FERROLT_CMAKE="${CMAKE_COMMAND}"
    FERROLT_CPACK="${CMAKE_CPACK_COMMAND}"
    FERROLT_REVERSE_DOMAIN="${FERROLT_REVERSE_DOMAIN}")
# The installed program may come as far as starting the practice engine.
set_tests_properties(packaging.PackageTest PROPERTIES RESOURCE_LOCK port-9877)

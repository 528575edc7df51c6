# What runs for minutes and is no part of CTest: built and run by tools/kills.
if(NOT APPLE)
    set(_end_to_end ${CMAKE_CURRENT_SOURCE_DIR}/end_to_end)
    add_executable(kills EXCLUDE_FROM_ALL
        endurance/Descendants.cpp
        endurance/FolderWatch.cpp
        endurance/KillTrial.cpp
        endurance/KillWorld.cpp
        endurance/main.cpp
        ${_end_to_end}/Launcher.cpp
        ${_end_to_end}/PrivateSystem.cpp
        ${_end_to_end}/UpdateServers.cpp
        ${_end_to_end}/VirtualDesktop.cpp)
    target_link_libraries(kills PRIVATE ferrolt_paths ferrolt_platform ferrolt_test_build ferrolt_test_images
        ferrolt_test_server Qt6::Test)
    target_precompile_headers(kills REUSE_FROM test-headers)
    target_include_directories(kills PRIVATE ${_end_to_end} ${CMAKE_CURRENT_SOURCE_DIR}/support
        ${CMAKE_CURRENT_SOURCE_DIR}/support/linux)
    target_compile_definitions(kills PRIVATE
        FERROLT_CONSOLE_TEXT="${PROJECT_SOURCE_DIR}/tools/console-text"
        FERROLT_LAUNCHER="$<TARGET_FILE:ferrolt-miner-launcher>"
        FERROLT_LIBREOFFICE_SERVER="${FERROLT_LIBREOFFICE_SERVER}"
        FERROLT_NODE_SERVER_HOST="${FERROLT_NODE_SERVER_HOST}"
        FERROLT_PRACTICE_CHILD="${PROJECT_BINARY_DIR}/tests/practice-child"
        FERROLT_REVERSE_DOMAIN="${FERROLT_REVERSE_DOMAIN}"
        FERROLT_UPDATE_SERVER="${FERROLT_UPDATE_SERVER}")
    set_target_properties(kills PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests UNITY_BUILD OFF)
    add_dependencies(kills ferrolt-miner-launcher practice-child)
endif()

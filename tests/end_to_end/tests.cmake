ferrolt_test(end_to_end LauncherTest LINKS ferrolt_platform ferrolt_paths TIMEOUT 300
    SOURCES end_to_end/Launcher.cpp end_to_end/VirtualDesktop.cpp)
add_dependencies(LauncherTest ferrolt-miner-launcher practice_engine practice_client)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/pictures)
target_compile_definitions(LauncherTest PRIVATE
    FERROLT_LAUNCHER="$<TARGET_FILE:ferrolt-miner-launcher>"
    FERROLT_CONSOLE_TEXT="${PROJECT_SOURCE_DIR}/tools/console-text"
    FERROLT_NODE_SERVER_HOST="${FERROLT_NODE_SERVER_HOST}"
    FERROLT_PICTURES="${PROJECT_BINARY_DIR}/pictures")
# The practice tree has one port, and a windowed program under a sanitizer wants the machine to itself.
set_tests_properties(end_to_end.LauncherTest PROPERTIES RUN_SERIAL ON)

ferrolt_test(end_to_end UpdateTest LINKS ferrolt_platform ferrolt_paths ferrolt_test_server ferrolt_test_images TIMEOUT 300
    SOURCES end_to_end/Launcher.cpp end_to_end/PrivateSystem.cpp end_to_end/VirtualDesktop.cpp)
add_dependencies(UpdateTest ferrolt-miner-launcher)
target_compile_definitions(UpdateTest PRIVATE
    FERROLT_LAUNCHER="$<TARGET_FILE:ferrolt-miner-launcher>"
    FERROLT_CONSOLE_TEXT="${PROJECT_SOURCE_DIR}/tools/console-text"
    FERROLT_NODE_SERVER_HOST="${FERROLT_NODE_SERVER_HOST}"
    FERROLT_UPDATE_SERVER="${FERROLT_UPDATE_SERVER}"
    FERROLT_LIBREOFFICE_SERVER="${FERROLT_LIBREOFFICE_SERVER}"
    FERROLT_REVERSE_DOMAIN="${FERROLT_REVERSE_DOMAIN}")
# Where no system of its own can be made, all of it is skipped, which must not pass for a success.
set_tests_properties(end_to_end.UpdateTest PROPERTIES RUN_SERIAL ON
    SKIP_REGULAR_EXPRESSION "SKIP   : UpdateTest::initTestCase")

if(NOT APPLE)
    # A session manager of the tests' own, from the protocol's own library.
    find_package(X11 REQUIRED COMPONENTS SM ICE)
    add_executable(practice-session-manager end_to_end/session_manager/main.cpp)
    target_link_libraries(practice-session-manager PRIVATE X11::SM X11::ICE)
    set_target_properties(practice-session-manager PROPERTIES AUTOMOC OFF
        RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)

    ferrolt_test(end_to_end SessionEndTest LINKS ferrolt_platform ferrolt_paths TIMEOUT 180
        SOURCES end_to_end/Launcher.cpp end_to_end/SessionManager.cpp end_to_end/VirtualDesktop.cpp)
    add_dependencies(SessionEndTest ferrolt-miner-launcher practice-session-manager)
    target_compile_definitions(SessionEndTest PRIVATE
        FERROLT_LAUNCHER="$<TARGET_FILE:ferrolt-miner-launcher>"
        FERROLT_CONSOLE_TEXT="${PROJECT_SOURCE_DIR}/tools/console-text"
        FERROLT_NODE_SERVER_HOST="${FERROLT_NODE_SERVER_HOST}"
        FERROLT_SESSION_MANAGER="$<TARGET_FILE:practice-session-manager>")
    set_tests_properties(end_to_end.SessionEndTest PROPERTIES RUN_SERIAL ON)

    ferrolt_test(end_to_end ClipboardTest LINKS ferrolt_platform ferrolt_paths TIMEOUT 180
        SOURCES end_to_end/Launcher.cpp end_to_end/VirtualDesktop.cpp)
    add_dependencies(ClipboardTest ferrolt-miner-launcher)
    target_compile_definitions(ClipboardTest PRIVATE
        FERROLT_LAUNCHER="$<TARGET_FILE:ferrolt-miner-launcher>"
        FERROLT_CONSOLE_TEXT="${PROJECT_SOURCE_DIR}/tools/console-text"
        FERROLT_SCREEN_READER="${PROJECT_SOURCE_DIR}/tests/end_to_end/screen-reader"
        FERROLT_NODE_SERVER_HOST="${FERROLT_NODE_SERVER_HOST}")
    set_tests_properties(end_to_end.ClipboardTest PROPERTIES RUN_SERIAL ON)

    find_package(X11 REQUIRED COMPONENTS xcb)
    ferrolt_test(end_to_end TrayTest LINKS ferrolt_platform ferrolt_paths Qt6::DBus X11::xcb TIMEOUT 300
        SOURCES end_to_end/Launcher.cpp end_to_end/NotifierTray.cpp end_to_end/NotifierTray.h end_to_end/VirtualDesktop.cpp
            end_to_end/WindowTray.cpp)
    add_dependencies(TrayTest ferrolt-miner-launcher)
    target_compile_definitions(TrayTest PRIVATE
        FERROLT_LAUNCHER="$<TARGET_FILE:ferrolt-miner-launcher>"
        FERROLT_CONSOLE_TEXT="${PROJECT_SOURCE_DIR}/tools/console-text"
        FERROLT_NODE_SERVER_HOST="${FERROLT_NODE_SERVER_HOST}"
        FERROLT_PICTURES="${PROJECT_BINARY_DIR}/pictures")
    set_tests_properties(end_to_end.TrayTest PROPERTIES RUN_SERIAL ON)

    ferrolt_test(end_to_end ScreenReaderTest LINKS ferrolt_platform ferrolt_paths TIMEOUT 180
        SOURCES end_to_end/Launcher.cpp end_to_end/VirtualDesktop.cpp)
    add_dependencies(ScreenReaderTest ferrolt-miner-launcher)
    target_compile_definitions(ScreenReaderTest PRIVATE
        FERROLT_LAUNCHER="$<TARGET_FILE:ferrolt-miner-launcher>"
        FERROLT_CONSOLE_TEXT="${PROJECT_SOURCE_DIR}/tools/console-text"
        FERROLT_SCREEN_READER="${PROJECT_SOURCE_DIR}/tests/end_to_end/screen-reader"
        FERROLT_NODE_SERVER_HOST="${FERROLT_NODE_SERVER_HOST}")
    set_tests_properties(end_to_end.ScreenReaderTest PROPERTIES RUN_SERIAL ON)
endif()

# ferrolt_test() for a test that drives the built program on a virtual desktop.
function(ferrolt_end_to_end_test name)
    cmake_parse_arguments(TEST "" "TIMEOUT" "SOURCES;LINKS" ${ARGN})
    ferrolt_test(end_to_end ${name} OWN_NETWORK LINKS ferrolt_platform ferrolt_paths ${TEST_LINKS} TIMEOUT ${TEST_TIMEOUT}
        SOURCES end_to_end/Launcher.cpp end_to_end/VirtualDesktop.cpp ${TEST_SOURCES})
    add_dependencies(${name} ferrolt-miner-launcher)
    target_compile_definitions(${name} PRIVATE
        FERROLT_LAUNCHER="$<TARGET_FILE:ferrolt-miner-launcher>"
        FERROLT_CONSOLE_TEXT="${PROJECT_SOURCE_DIR}/tools/console-text"
        FERROLT_NODE_SERVER_HOST="${FERROLT_NODE_SERVER_HOST}"
        FERROLT_PICTURES="${PROJECT_BINARY_DIR}/pictures"
        FERROLT_SCREEN_READER="${PROJECT_SOURCE_DIR}/tests/end_to_end/screen-reader")
    # The practice tree has one port, and a windowed program under a sanitizer wants the machine to itself.
    set_tests_properties(end_to_end.${name} PROPERTIES RUN_SERIAL ON)
endfunction()

file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/pictures)
ferrolt_end_to_end_test(LauncherTest TIMEOUT 300)

ferrolt_end_to_end_test(UpdateTest LINKS ferrolt_http ferrolt_test_server ferrolt_test_images TIMEOUT 300
    SOURCES end_to_end/PrivateSystem.cpp)
target_compile_definitions(UpdateTest PRIVATE
    FERROLT_UPDATE_SERVER="${FERROLT_UPDATE_SERVER}"
    FERROLT_LIBREOFFICE_SERVER="${FERROLT_LIBREOFFICE_SERVER}"
    FERROLT_REVERSE_DOMAIN="${FERROLT_REVERSE_DOMAIN}")
# Where no system of its own can be made, all of it is skipped, which must not pass for a success.
set_tests_properties(end_to_end.UpdateTest PROPERTIES
    SKIP_REGULAR_EXPRESSION "SKIP   : UpdateTest::initTestCase")

# What a test may replace, as the program ships with it; docs/testing.md lists which test shows what.
ferrolt_end_to_end_test(ProductionAlertTest TIMEOUT 180)
ferrolt_end_to_end_test(ProductionPathsTest TIMEOUT 180 SOURCES end_to_end/PrivateSystem.cpp)
set_tests_properties(end_to_end.ProductionPathsTest PROPERTIES
    SKIP_REGULAR_EXPRESSION "SKIP   : ProductionPathsTest::initTestCase")

if(NOT APPLE)
    # A session manager of the tests' own, from the protocol's own library.
    find_package(X11 REQUIRED COMPONENTS SM ICE xcb)
    add_executable(practice-session-manager end_to_end/session_manager/main.cpp)
    target_link_libraries(practice-session-manager PRIVATE X11::SM X11::ICE)
    set_target_properties(practice-session-manager PROPERTIES AUTOMOC OFF
        RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)

    ferrolt_end_to_end_test(SessionEndTest TIMEOUT 180 SOURCES end_to_end/SessionManager.cpp)
    add_dependencies(SessionEndTest practice-session-manager)
    target_compile_definitions(SessionEndTest PRIVATE FERROLT_SESSION_MANAGER="$<TARGET_FILE:practice-session-manager>")

    ferrolt_end_to_end_test(VirtualDesktopTest TIMEOUT 120)
    ferrolt_end_to_end_test(ClipboardTest TIMEOUT 180)
    ferrolt_end_to_end_test(TrayTest LINKS Qt6::DBus TIMEOUT 300
        SOURCES end_to_end/NotifierTray.cpp end_to_end/NotifierTray.h)
    ferrolt_end_to_end_test(ScreenReaderTest TIMEOUT 180)
    ferrolt_end_to_end_test(WaylandTest LINKS Qt6::Gui TIMEOUT 180)
    if(FERROLT_SANITIZE MATCHES address)
        # Qt 6.4's plugin for Wayland is unloaded with what libwayland-client has allocated for it.
        set_property(TEST end_to_end.WaylandTest APPEND PROPERTY ENVIRONMENT "ASAN_OPTIONS=detect_leaks=0:abort_on_error=1")
    endif()
    ferrolt_end_to_end_test(WindowTest LINKS Qt6::Gui X11::xcb TIMEOUT 600 SOURCES end_to_end/XClient.cpp)
endif()

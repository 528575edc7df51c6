# Tests that drive the built program on a virtual desktop. docs/testing.md lists which test shows what of it as it ships.
ferrolt_test_program(end_to_end-tests
    LINKS ferrolt_http ferrolt_paths ferrolt_platform ferrolt_test_images ferrolt_test_server Qt6::Gui
        $<$<NOT:$<PLATFORM_ID:Darwin>>:Qt6::DBus>
    SOURCES end_to_end/Launcher.cpp end_to_end/PrivateSystem.cpp end_to_end/UpdateServers.cpp
        end_to_end/VirtualDesktop.cpp
    DEFINITIONS
        FERROLT_AUTOSTART_COMMAND="${PROJECT_SOURCE_DIR}/tests/support/autostart_command.py"
        FERROLT_CONSOLE_TEXT="${PROJECT_SOURCE_DIR}/tools/console-text"
        FERROLT_LAUNCHER="$<TARGET_FILE:ferrolt-miner-launcher>"
        FERROLT_LIBREOFFICE_SERVER="${FERROLT_LIBREOFFICE_SERVER}"
        FERROLT_NODE_SERVER_HOST="${FERROLT_NODE_SERVER_HOST}"
        FERROLT_PICTURES="${PROJECT_BINARY_DIR}/pictures"
        FERROLT_REVERSE_DOMAIN="${FERROLT_REVERSE_DOMAIN}"
        FERROLT_SCREEN_READER="${PROJECT_SOURCE_DIR}/tests/end_to_end/screen-reader"
        FERROLT_UPDATE_SERVER="${FERROLT_UPDATE_SERVER}")
add_dependencies(end_to_end-tests ferrolt-miner-launcher practice-child)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/pictures)

# Each test has a network, a display, a bus and folders of its own. Only where the system gives no networks do they
# share the launcher's port.
set(shared_port)
if(NOT APPLE)
    execute_process(COMMAND unshare --user --net true RESULT_VARIABLE has_no_networks OUTPUT_QUIET ERROR_QUIET)
    if(has_no_networks)
        execute_process(COMMAND unshare --net true RESULT_VARIABLE has_no_networks OUTPUT_QUIET ERROR_QUIET)
    endif()
    if(has_no_networks)
        set(shared_port RESOURCE_LOCK port-9877)
    endif()
endif()

function(ferrolt_end_to_end_test name)
    ferrolt_test(end_to_end ${name} OWN_NETWORK ${ARGN})
    # A display and a window manager work beside the program.
    set_tests_properties(end_to_end.${name} PROPERTIES PROCESSORS 2 ${shared_port})
endfunction()

# LauncherTest, UpdateTest and WindowTest take the program through all of its code; the others look at the desktop around it.
set(long LONG_UNDER "address|thread")
ferrolt_end_to_end_test(LauncherTest TIMEOUT 300 COST 60)
ferrolt_end_to_end_test(ProductionAlertTest ${long} TIMEOUT 180)
ferrolt_end_to_end_test(ProductionPathsTest ${long} TIMEOUT 180)
ferrolt_end_to_end_test(UpdateTest TLS TIMEOUT 300 COST 10)
# Where no system of its own can be made, all of such a test is skipped, which must not pass for a success.
foreach(test ProductionPathsTest UpdateTest)
    set_tests_properties(end_to_end.${test} PROPERTIES SKIP_REGULAR_EXPRESSION "SKIP   : ${test}::initTestCase")
endforeach()

if(NOT APPLE)
    # A session manager of the tests' own, from the protocol's own library.
    find_package(X11 REQUIRED COMPONENTS SM ICE xcb)
    add_executable(practice-session-manager end_to_end/session_manager/main.cpp)
    target_link_libraries(practice-session-manager PRIVATE X11::SM X11::ICE)
    set_target_properties(practice-session-manager PROPERTIES AUTOMOC OFF
        RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)

    target_sources(end_to_end-tests PRIVATE
        end_to_end/NotifierTray.cpp
        end_to_end/NotifierTray.h
        end_to_end/SessionManager.cpp
        end_to_end/XClient.cpp)
    target_link_libraries(end_to_end-tests PRIVATE X11::xcb)
    target_compile_definitions(end_to_end-tests PRIVATE
        FERROLT_SESSION_MANAGER="$<TARGET_FILE:practice-session-manager>"
        FERROLT_WAYLAND_CLIENT="${PROJECT_SOURCE_DIR}/tests/end_to_end/wayland-client")
    add_dependencies(end_to_end-tests practice-session-manager)

    ferrolt_end_to_end_test(ClipboardTest ${long} TIMEOUT 180 COST 10)
    ferrolt_end_to_end_test(LogInTest ${long} TIMEOUT 300 COST 20)
    ferrolt_end_to_end_test(MenuTest ${long} TIMEOUT 180)
    ferrolt_end_to_end_test(ScreenReaderTest ${long} TIMEOUT 180)
    ferrolt_end_to_end_test(SessionEndTest ${long} TIMEOUT 180)
    ferrolt_end_to_end_test(TrayTest ${long} TIMEOUT 300 COST 40)
    ferrolt_end_to_end_test(UpgradeTest ${long} TIMEOUT 240 COST 20)
    ferrolt_end_to_end_test(VirtualDesktopTest ${long} TIMEOUT 120)
    ferrolt_end_to_end_test(WaylandDesktopTest ${long} TIMEOUT 300 COST 10)
    set_tests_properties(end_to_end.WaylandDesktopTest PROPERTIES
        SKIP_REGULAR_EXPRESSION "SKIP   : WaylandDesktopTest::initTestCase")
    ferrolt_end_to_end_test(WaylandTest ${long} TIMEOUT 180)
    if(FERROLT_SANITIZE MATCHES address)
        # Qt 6.4's plugin for Wayland is unloaded with what libwayland-client has allocated for it.
        set_property(TEST end_to_end.WaylandDesktopTest end_to_end.WaylandTest
            APPEND PROPERTY ENVIRONMENT "ASAN_OPTIONS=detect_leaks=0:abort_on_error=1")
    endif()
    ferrolt_end_to_end_test(WindowTest TIMEOUT 600 COST 50)
endif()

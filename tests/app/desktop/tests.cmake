ferrolt_test_program(app-desktop-tests LINKS ferrolt_desktop ferrolt_widgets $<$<NOT:$<PLATFORM_ID:Darwin>>:Qt6::DBus>)
ferrolt_test(app/desktop QtAlertPresenterTest WINDOW)
if(NOT APPLE)
    ferrolt_test(app/desktop DesktopAppearanceTest WINDOW)
    # It brings a bus of its own; without one it would show nothing, and pass.
    set_tests_properties(app/desktop.DesktopAppearanceTest PROPERTIES FAIL_REGULAR_EXPRESSION "SKIP ")
    target_compile_definitions(app-desktop-tests PRIVATE
        FERROLT_AUTOSTART_COMMAND="${PROJECT_SOURCE_DIR}/tests/support/autostart_command.py")
    target_include_directories(app-desktop-tests PRIVATE ${PROJECT_SOURCE_DIR}/app/desktop/linux)
    ferrolt_test(app/desktop AutostartEntryTest)
    ferrolt_test(app/desktop NotificationServiceTest WINDOW)
    ferrolt_test(app/desktop StateFolderTest)
endif()

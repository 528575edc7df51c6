ferrolt_test_program(app-desktop-tests LINKS ferrolt_desktop ferrolt_widgets $<$<NOT:$<PLATFORM_ID:Darwin>>:Qt6::DBus>)
ferrolt_test(app/desktop QtAlertPresenterTest WINDOW)
if(NOT APPLE)
    ferrolt_test(app/desktop DesktopAppearanceTest WINDOW)
    # It brings a bus of its own; without one it would show nothing, and pass.
    set_tests_properties(app/desktop.DesktopAppearanceTest PROPERTIES FAIL_REGULAR_EXPRESSION "SKIP ")
    ferrolt_test(app/desktop StateFolderTest)
endif()

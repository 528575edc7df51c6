ferrolt_test(app/desktop QtAlertPresenterTest LINKS ferrolt_desktop ferrolt_widgets WINDOW)
if(NOT APPLE)
    ferrolt_test(app/desktop DesktopAppearanceTest LINKS ferrolt_desktop ferrolt_widgets Qt6::DBus WINDOW)
    # It brings a bus of its own; without one it would show nothing, and pass.
    set_tests_properties(app/desktop.DesktopAppearanceTest PROPERTIES FAIL_REGULAR_EXPRESSION "SKIP ")
    ferrolt_test(app/desktop StateFolderTest LINKS ferrolt_desktop)
endif()

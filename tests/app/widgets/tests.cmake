ferrolt_test_program(app-widgets-tests LINKS ferrolt_app ferrolt_desktop ferrolt_logview ferrolt_widgets)
foreach(test ChangeFollowerTest DrawingTest LauncherStyleTest SymbolsTest ThemeTest)
    ferrolt_test(app/widgets ${test} WINDOW)
endforeach()
ferrolt_test(app/widgets TextFieldTest WINDOW LONG_UNDER thread)  # it has one thread
ferrolt_test(app/widgets SingleLineTextTest)
ferrolt_test(app/widgets AnnouncementTest ${ferrolt_bus})

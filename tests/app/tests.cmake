set(app_modules ferrolt_app ferrolt_desktop ferrolt_logview ferrolt_updates ferrolt_widgets)
ferrolt_test_program(app-tests LINKS ${app_modules} ferrolt_test_installation
    DEFINITIONS FERROLT_PICTURES="${PROJECT_BINARY_DIR}/pictures")
foreach(test AboutDialogTest ContentViewTest FirstTimeNoticesTest HomeLogViewTest LauncherPrefsTest MainMenuTest MainWindowTest
        OpenAtLoginTest ProgressStripTest QuitRequestTest TrayItemTest UpgradeOfferTest)
    ferrolt_test(app ${test} WINDOW)
endforeach()
ferrolt_test(app LifecycleTest WINDOW TLS)
ferrolt_test(app PicturesTest WINDOW TIMEOUT 900 COST 20)
ferrolt_test(app WindowStateTest)

# It exports a name that makes its process a unit-test host.
ferrolt_test_program(UnitTestHostTest LINKS ${app_modules})
set_target_properties(UnitTestHostTest PROPERTIES ENABLE_EXPORTS ON)
ferrolt_test(app UnitTestHostTest PROGRAM UnitTestHostTest)

ferrolt_test(app LogConsoleLookTest LINKS ferrolt_app WINDOW)

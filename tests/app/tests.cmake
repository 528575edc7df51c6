ferrolt_test(app LogConsoleLookTest LINKS ferrolt_app WINDOW)
ferrolt_test(app LogRowsTest LINKS ferrolt_app)
ferrolt_test(app LogTextTest LINKS ferrolt_app)
ferrolt_test(app LogViewportTest LINKS ferrolt_app)

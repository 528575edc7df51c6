ferrolt_test_program(text-tests LINKS ferrolt_text)
ferrolt_test(text TextLinesTest)
ferrolt_test(text Utf8Test)

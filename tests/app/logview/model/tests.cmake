ferrolt_test_program(app-logview-model-tests LINKS ferrolt_model ferrolt_text)
foreach(test CellWidthTest LogCaretTest LogFinderTest LogFollowerTest LogLayoutTest LogRowsTest LogSelectionTest LogTextTest
        LogViewportTest Utf16IndexTest)
    ferrolt_test(app/logview/model ${test})
endforeach()

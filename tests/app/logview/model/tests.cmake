ferrolt_test_program(app-logview-model-tests LINKS ferrolt_model ferrolt_text)
foreach(test LogCaretTest LogFinderTest LogRowsTest LogSelectionTest LogTextTest LogViewportTest)
    ferrolt_test(app/logview/model ${test})
endforeach()

foreach(test LogConsoleLookTest LogRowTextTest LogSearchTest LogTextAreaSelectionTest
        LogTextAreaTest)
    ferrolt_test(app/logview ${test} LINKS ferrolt_logview ferrolt_text WINDOW)
endforeach()
ferrolt_test(app/logview LogConsoleViewTest LINKS ferrolt_logview ferrolt_desktop WINDOW)
ferrolt_test(app/logview LogHostileTextTest LINKS ferrolt_logview WINDOW TIMEOUT 300)
ferrolt_test(app/logview LogAccessibleTest LINKS ferrolt_logview ferrolt_text ${ferrolt_bus})

# Whether a plain char is signed is the processor's choice: on arm it is not. What looks at the bytes of a log is compiled
# and tested with the other choice, too.
set(logview ${PROJECT_SOURCE_DIR}/app/logview)
foreach(source model/LogRowsTest LogRowTextTest)
    get_filename_component(test ${source} NAME)
    set(twin ${test}UnsignedChar)
    add_executable(${twin} app/logview/${source}.cpp ${logview}/ConsoleFont.cpp ${logview}/LogRowText.cpp
        ${logview}/model/CellWidth.cpp ${logview}/model/LogRows.cpp ${logview}/model/Utf16Index.cpp)
    target_compile_options(${twin} PRIVATE -funsigned-char)
    target_include_directories(${twin} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/moc)
    target_link_libraries(${twin} PRIVATE ferrolt_logview ferrolt_text ferrolt_build Qt6::Test)
    add_dependencies(${twin} ${test})  # which has the same moc file
    set_target_properties(${twin} PROPERTIES AUTOMOC OFF RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
    add_test(NAME app/logview.${twin} COMMAND ${twin})
    set_tests_properties(app/logview.${twin} PROPERTIES
        TIMEOUT 120 LABELS app/logview ENVIRONMENT "QT_QPA_PLATFORM=offscreen")
endforeach()
foreach(scale 1.25 1.5 2 3)
    add_test(NAME app/logview.LogConsoleLookTest@${scale} COMMAND LogConsoleLookTest)
    set_tests_properties(app/logview.LogConsoleLookTest@${scale} PROPERTIES TIMEOUT 120 LABELS app/logview
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;QT_SCALE_FACTOR=${scale}")
endforeach()

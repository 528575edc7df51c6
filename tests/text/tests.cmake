ferrolt_test(text TextLinesTest LINKS ferrolt_text)

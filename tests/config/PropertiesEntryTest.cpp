#include "PropertiesEntry.h"
#include "TestProgram.h"

#include <QTest>

namespace ferrolt {

class PropertiesEntryTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void aLineWithoutAnEqualsSignIsNoEntry();
    void theKeyKeepsItsBlanksAndTheValueLosesThem();
    void theValueEndsAtTheSecondEqualsSign();
    void anEntryMayBeEmptyOnBothSides();
    void onlySpacesAndTabsAreBlanks();
    void aValueOfOnlyALineBreakIsNotEmpty();
};

void PropertiesEntryTest::aLineWithoutAnEqualsSignIsNoEntry() {
    QVERIFY(!PropertiesEntry::parse(""));
    QVERIFY(!PropertiesEntry::parse("Key"));
    QVERIFY(!PropertiesEntry::parse("Key : value"));
}

void PropertiesEntryTest::theKeyKeepsItsBlanksAndTheValueLosesThem() {
    const auto entry = PropertiesEntry::parse(" \tKey \t= \t a value\t ");
    QVERIFY(entry);
    QVERIFY(entry->key == " \tKey \t");
    QVERIFY(entry->value == "a value");
}

void PropertiesEntryTest::theValueEndsAtTheSecondEqualsSign() {
    const auto entry = PropertiesEntry::parse("Key = one = two = three");
    QVERIFY(entry);
    QVERIFY(entry->value == "one");
}

void PropertiesEntryTest::anEntryMayBeEmptyOnBothSides() {
    const auto entry = PropertiesEntry::parse("=");
    QVERIFY(entry);
    QVERIFY(entry->key.empty());
    QVERIFY(entry->value.empty());
    QVERIFY(PropertiesEntry::parse("==value")->value.empty());
}

void PropertiesEntryTest::onlySpacesAndTabsAreBlanks() {
    QVERIFY(trimmedOfBlanks("").empty());
    QVERIFY(trimmedOfBlanks(" \t \t").empty());
    QVERIFY(trimmedOfBlanks(" \ta b\t ") == "a b");
    const std::string_view noBreakSpaces = "\xC2\xA0value\xC2\xA0";
    QVERIFY(trimmedOfBlanks(noBreakSpaces) == noBreakSpaces);
    QVERIFY(trimmedOfBlanks(" \r value \v ") == "\r value \v");
}

// A file's line contains no line break, but a caller's text may. Line breaks are not trimmed.
void PropertiesEntryTest::aValueOfOnlyALineBreakIsNotEmpty() {
    QVERIFY(trimmedOfBlanks("\n") == "\n");
    QVERIFY(trimmedOfBlanks(" \n\t") == "\n");
    QVERIFY(trimmedOfBlanks("\t\r ") == "\r");
    QVERIFY(trimmedOfBlanks(" \xE2\x80\xA8 ") == "\xE2\x80\xA8");  // U+2028
    QVERIFY(PropertiesEntry::parse("Key = \n ")->value == "\n");
}

}  // namespace ferrolt

TEST_CLASS(ferrolt::PropertiesEntryTest, QCoreApplication)
#include "PropertiesEntryTest.moc"

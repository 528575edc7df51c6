#include "Metalink.h"
#include "TestProgram.h"

#include <QStringEncoder>
#include <QTest>

using namespace ferrolt;

namespace {

QStringList mirrorsOf(const QByteArray &document) {
    QStringList texts;
    for (const QUrl &mirror : parseMetalink(document).mirrors)
        texts.append(mirror.toString());
    return texts;
}

std::optional<QString> hashOf(const QByteArray &document) {
    return parseMetalink(document).sha256;
}

const QByteArray digest(64, 'a');

std::optional<QString> text(const QByteArray &bytes) {
    return QString::fromUtf8(bytes);
}

}  // namespace

class MetalinkTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void aDocumentAsServersWriteItIsRead() {
        const QByteArray document =
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<metalink xmlns=\"urn:ietf:params:xml:ns:metalink\">\n"
            "  <generator>A generator</generator>\n"
            "  <published>2026-01-30T10:00:00Z</published>\n"
            "  <file name=\"LibreOffice_26.2.4_MacOS_aarch64.dmg\">\n"
            "    <size>298000000</size>\n"
            "    <hash type=\"md5\">0123456789abcdef0123456789abcdef</hash>\n"
            "    <hash type=\"sha-1\">0123456789abcdef0123456789abcdef01234567</hash>\n"
            "    <hash type=\"sha-256\">" +
            digest +
            "</hash>\n"
            "    <pieces length=\"262144\" type=\"sha-256\"><hash>1111</hash><hash>2222</hash></pieces>\n"
            "    <url location=\"de\" priority=\"2\">https://one.example/stable/a.dmg</url>\n"
            "    <url location=\"fr\" priority=\"1\">http://two.example/stable/a.dmg</url>\n"
            "    <metaurl mediatype=\"torrent\" priority=\"1\">https://three.example/a.torrent</metaurl>\n"
            "  </file>\n"
            "</metalink>";
        QCOMPARE(mirrorsOf(document), (QStringList{QStringLiteral("https://one.example/stable/a.dmg"),
                                                   QStringLiteral("http://two.example/stable/a.dmg")}));
        QCOMPARE(hashOf(document), text(digest));
    }

    void anFtpUrlIsSkippedAndAnHttpsUrlBetweenBlanksIsTrimmed() {
        const QByteArray document =
            "<a><url>ftp://one.example/x</url><url> \t https://two.example/x \n\r\n </url>"
            "<url>http://three.example/x</url></a>";
        QCOMPARE(mirrorsOf(document), (QStringList{QStringLiteral("https://two.example/x"),
                                                   QStringLiteral("http://three.example/x")}));
    }

    void aSchemeInCapitalsIsKeptBecauseTheUrlParserLowersIt() {
        QCOMPARE(
            mirrorsOf("<a><url>HTTPS://One.Example/X</url><url>Http://two.example/Y</url></a>"),
            (QStringList{QStringLiteral("https://one.example/X"), QStringLiteral("http://two.example/Y")}));
    }

    void whatIsNoWebUrlIsSkipped_data() {
        QTest::addColumn<QByteArray>("url");
        for (const char *url : {"",
                                " ",
                                "one.example/x",
                                "//one.example/x",
                                "/x",
                                "httpss://one.example",
                                "xhttp://a",
                                "file:///etc/passwd",
                                "data:,x",
                                "javascript:x",
                                "magnet:?xt=x",
                                "https//one.example",
                                "https://one.example/a b",
                                "https://one example/x",
                                "https://one.example/%zz",
                                "https://one.example:port/",
                                "https://[::1/",
                                "https://one.example/\"x\"",
                                "https://one.example/{x}",
                                "https://one.example/a\nb",
                                "ht tp://one.example/",
                                "https://one.example/\\x",
                                "https://one.example/x https://two.example/x"})
            QTest::newRow(url) << QByteArray(url);
    }
    void whatIsNoWebUrlIsSkipped() {
        QFETCH(QByteArray, url);
        QCOMPARE(mirrorsOf("<a><url>" + url + "</url></a>"), QStringList());
    }

    void aUrlWithoutAHostIsStillAUrl() {
        QCOMPARE(mirrorsOf("<a><url>https:///path</url></a>"), QStringList{QStringLiteral("https:///path")});
    }

    void theTypeOfAHashDecides_data() {
        QTest::addColumn<QByteArray>("attribute");
        QTest::addColumn<bool>("accepted");
        for (const char *good : {"type='sha-256'", "type='SHA-256'", "type='sha256'", "type='Sha256'",
                                 "x='y' type=\"sHA-256\" z=''", "type='&#115;ha-256'"})
            QTest::newRow(good) << QByteArray(good) << true;
        for (const char *bad : {"", "type=''", "type='sha-1'", "type='sha1'", "type='sha-512'", "type='md5'",
                                "type='sha 256'", "type='sha_256'", "type='sha-256x'", "Type='sha-256'",
                                "TYPE='sha-256'", "x:type='sha-256'", "algo='sha-256'"})
            QTest::newRow(bad) << QByteArray(bad) << false;
    }
    void theTypeOfAHashDecides() {
        QFETCH(QByteArray, attribute);
        QFETCH(bool, accepted);
        const auto expected = accepted ? text(digest) : std::nullopt;
        QCOMPARE(hashOf("<a><hash " + attribute + ">" + digest + "</hash></a>"), expected);
    }

    void ofTwoSha256HashesTheFirstThatIsNotEmptyIsKept() {
        QCOMPARE(hashOf("<a><hash type='sha-256'>first</hash><hash type='sha-256'>second</hash></a>"),
                 text("first"));
        QCOMPARE(hashOf("<a><hash type='sha-256'> \n </hash><hash type='sha-256'/><hash "
                        "type='sha256'>second</hash></a>"),
                 text("second"));
        QCOMPARE(hashOf("<a><hash type='sha-1'>one</hash><hash type='sha-256'>two</hash></a>"), text("two"));
    }

    void aHashComesBackTrimmedAndLoweredAndOtherwiseUnchecked() {
        QCOMPARE(hashOf("<a><hash type='sha-256'>\n  " + QByteArray(64, 'A') + "  </hash></a>"),
                 text(digest));
        QCOMPARE(hashOf("<a><hash type='sha-256'>" + digest.left(63) + "</hash></a>"), text(digest.left(63)));
        QCOMPARE(hashOf("<a><hash type='sha-256'>not A hash</hash></a>"), text("not a hash"));
    }

    void pieceHashesCountLikeAnyOther() {
        QCOMPARE(
            hashOf(
                "<a><pieces><hash type='sha-256'>piece</hash></pieces><hash type='sha-256'>whole</hash></a>"),
            text("piece"));
    }

    void textBetweenElementsNeverLeaksIntoAValue() {
        const QByteArray document =
            "<a>https://stray.example/ <url>https://one.example/</url> stray <b/> stray "
            "<hash type='sha-256'>aa</hash> stray <url></url></a>";
        QCOMPARE(mirrorsOf(document), QStringList{QStringLiteral("https://one.example/")});
        QCOMPARE(hashOf(document), text("aa"));
    }

    void anElementInsideAValueDropsWhatCameBeforeIt() {
        QCOMPARE(mirrorsOf("<a><url>https://lost.example/<b>x</b>https://kept.example/</url></a>"),
                 QStringList{QStringLiteral("https://kept.example/")});
        QCOMPARE(mirrorsOf("<a><url>https://lost.example/<b/></url></a>"), QStringList());
        // An inner element does not end the hash around it.
        QCOMPARE(hashOf("<a><hash type='sha-256'>lost<b>x</b>kept</hash></a>"), text("kept"));
        // An inner hash does: the text after it belongs to no hash.
        QCOMPARE(hashOf("<a><hash type='sha-256'><hash type='md5'>x</hash>lost</hash></a>"), std::nullopt);
    }

    void oneTextInSeveralPiecesIsPutTogether() {
        QCOMPARE(
            mirrorsOf(
                "<a><url>https://<!-- a --><![CDATA[one.exa]]>mple/?a=1&amp;b=&#50;<?p i?>&#x33;</url></a>"),
            QStringList{QStringLiteral("https://one.example/?a=1&b=23")});
    }

    void elementNamesAreComparedAsWritten_data() {
        QTest::addColumn<QByteArray>("element");
        for (const char *element : {"URL", "Url", "urls", "m:url", "url:url", "metaurl", "_url"})
            QTest::newRow(element) << QByteArray(element);
    }
    void elementNamesAreComparedAsWritten() {
        QFETCH(QByteArray, element);
        QCOMPARE(mirrorsOf("<a xmlns:m='x'><" + element + ">https://one.example/</" + element + "></a>"),
                 QStringList());
    }

    void aDocumentThatStopsBeingXmlYieldsWhatCameBefore_data() {
        QTest::addColumn<QByteArray>("rest");
        QTest::newRow("cut between elements") << QByteArray();
        QTest::newRow("cut in a start tag") << QByteArray("<url loc");
        QTest::newRow("cut in a text") << QByteArray("<url>https://two.example/");
        QTest::newRow("cut in an end tag") << QByteArray("<url>https://two.example/</ur");
        QTest::newRow("cut in a comment") << QByteArray("<!-- <url>https://two.example/</url>");
        QTest::newRow("cut in CDATA") << QByteArray("<url><![CDATA[https://two.example/</url>");
        QTest::newRow("cut in a character") << QByteArray("<b>\xE2\x80");
        QTest::newRow("wrong end tag") << QByteArray("</b><url>https://two.example/</url>");
        QTest::newRow("bare ampersand") << QByteArray("<url>https://two.example/?a&b</url>");
        QTest::newRow("unknown entity") << QByteArray("<url>https://&host;/</url>");
        QTest::newRow("attribute twice") << QByteArray("<url a='1' a='2'>https://two.example/</url>");
        QTest::newRow("not UTF-8") << QByteArray("<b>\xff</b><url>https://two.example/</url></a>");
        QTest::newRow("control character") << QByteArray("<b>\x01</b><url>https://two.example/</url></a>");
        QTest::newRow("second root") << QByteArray("</a><url>https://two.example/</url>");
    }
    void aDocumentThatStopsBeingXmlYieldsWhatCameBefore() {
        QFETCH(QByteArray, rest);
        const QByteArray document = "<a><url>https://one.example/</url><hash type='sha-256'>aa</hash>" + rest;
        QCOMPARE(mirrorsOf(document), QStringList{QStringLiteral("https://one.example/")});
        QCOMPARE(hashOf(document), text("aa"));
    }

    void bytesThatAreNotXmlYieldNothing_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("text") << QByteArray("https://one.example/");
        QTest::newRow("json") << QByteArray("{\"url\":\"https://one.example/\"}");
        QTest::newRow("loose html") << QByteArray(
            "<!DOCTYPE html><html><br><p class=x><a href=https://x>url</a></html>");
        QTest::newRow("nulls") << QByteArray(1000, '\0');
        QTest::newRow("gzip") << QByteArray("\x1f\x8b\x08\0\0\0\0\0\0\x03", 10);
        QByteArray all;
        for (int i = 0; i < 256; ++i)
            all.append(static_cast<char>(i));
        QTest::newRow("all bytes") << all;
    }
    void bytesThatAreNotXmlYieldNothing() {
        QFETCH(QByteArray, bytes);
        const Metalink metalink = parseMetalink(bytes);
        QVERIFY(metalink.mirrors.isEmpty());
        QVERIFY(!metalink.sha256);
    }

    void otherEncodingsAreRead_data() {
        QTest::addColumn<QByteArray>("document");
        const QString plain = QStringLiteral(u"<a><b>\u00e9</b><url>https://one.example/</url></a>");
        const auto encoded = [](QStringConverter::Encoding encoding, QStringConverter::Flags flags,
                                const QString &text) {
            QStringEncoder encoder(encoding, flags);
            const QByteArray bytes = encoder(text);
            return bytes;
        };
        const auto mark = QStringConverter::Flag::WriteBom;
        const auto none = QStringConverter::Flag::Default;
        QTest::newRow("UTF-8 with a mark") << encoded(QStringConverter::Utf8, mark, plain);
        QTest::newRow("UTF-16LE with a mark") << encoded(QStringConverter::Utf16LE, mark, plain);
        QTest::newRow("UTF-16BE with a mark") << encoded(QStringConverter::Utf16BE, mark, plain);
        QTest::newRow("UTF-16LE without") << encoded(QStringConverter::Utf16LE, none, plain);
        QTest::newRow("UTF-16BE without") << encoded(QStringConverter::Utf16BE, none, plain);
        QTest::newRow("declared UTF-16")
            << encoded(QStringConverter::Utf16LE, mark,
                       QStringLiteral("<?xml version='1.0' encoding='UTF-16'?>") + plain);
        QTest::newRow("declared Latin-1")
            << QByteArray("<?xml version='1.0' encoding=\"ISO-8859-1\" standalone='yes'?>") +
                   plain.toLatin1();
        QTest::newRow("declared UTF-8")
            << QByteArray("<?xml version='1.0' encoding='utf-8'?>") + plain.toUtf8();
    }
    void otherEncodingsAreRead() {
        QFETCH(QByteArray, document);
        QCOMPARE(mirrorsOf(document), QStringList{QStringLiteral("https://one.example/")});
    }

    void bytesThatAreNoTextEndTheDocumentWhereTheyStand_data() {
        QTest::addColumn<QByteArray>("encoding");
        QTest::addColumn<QByteArray>("text");  // of the first mirror's comment, in that encoding
        QTest::addColumn<QByteArray>("noText");
        QTest::newRow("UTF-8") << QByteArray("UTF-8") << QByteArray("\xC3\xA9") << QByteArray("\xFF");
        QTest::newRow("a replacement character before")
            << QByteArray("UTF-8") << QByteArray("\xEF\xBF\xBD") << QByteArray("\xFF");
        QTest::newRow("EUC-JP") << QByteArray("EUC-JP") << QByteArray("\xC6\xFC") << QByteArray("\xFF");
        QTest::newRow("Shift_JIS") << QByteArray("Shift_JIS") << QByteArray("\x93\xFA") << QByteArray("\xFF");
    }
    void bytesThatAreNoTextEndTheDocumentWhereTheyStand() {
        QFETCH(QByteArray, encoding);
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, noText);
        if (!QStringDecoder(encoding.constData()).isValid())
            QSKIP("Qt was built without the library that knows this encoding");
        const QByteArray before = "<?xml version='1.0' encoding='" + encoding + "'?><a><b>" + text +
                                  "</b><url>https://one.example/</url>";
        const QByteArray after = "<url>https://two.example/</url></a>";
        QCOMPARE(mirrorsOf(before + after), (QStringList{QStringLiteral("https://one.example/"),
                                                         QStringLiteral("https://two.example/")}));
        QCOMPARE(mirrorsOf(before + noText + after), QStringList{QStringLiteral("https://one.example/")});
    }

    void anEncodingThatNobodyKnowsYieldsNothing() {
        QCOMPARE(
            mirrorsOf(
                "<?xml version='1.0' encoding='x-no-such-thing'?><a><url>https://one.example/</url></a>"),
            QStringList());
    }
};

TEST_CLASS(MetalinkTest, NoApplication)
#include "MetalinkTest.moc"

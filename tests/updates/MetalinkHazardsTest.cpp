#include "MetalinkPromises.h"
#include "TestHttpsServer.h"
#include "TestProgram.h"

#include <QTest>

#include <ctime>
#include <random>

using namespace ferrolt;

namespace {

const QByteArray goodElements = "<url>https://one.example/</url><hash type='sha-256'>aa</hash>";

bool isGood(const Metalink &metalink) {
    return metalink.mirrors.size() == 1 && metalink.sha256 == QStringLiteral("aa");
}

/// Repeats `piece` up to about `size` bytes.
QByteArray repeated(const QByteArray &piece, qsizetype size) {
    return piece.repeated(size / piece.size());
}

QByteArray numbered(const QByteArray &before, const QByteArray &after, qsizetype size) {
    QByteArray bytes;
    for (int i = 0; bytes.size() < size; ++i)
        bytes += before + QByteArray::number(i) + after;
    return bytes;
}

double processorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

}  // namespace

class MetalinkHazardsTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void aBillionLaughsEndTheDocumentEarly() {
        QByteArray document = "<!DOCTYPE a [<!ENTITY l0 \"lol\">";
        for (int i = 1; i < 10; ++i)
            document += "<!ENTITY l" + QByteArray::number(i) + " \"" +
                        QByteArray("&l" + QByteArray::number(i - 1) + ";").repeated(10) + "\">";
        document += "]><a>" + goodElements + "<b>&l9;</b><url>https://two.example/</url></a>";
        QVERIFY(isGood(parseMetalink(document)));
    }

    void anEntityThatNamesItselfEndsTheDocumentEarly() {
        QVERIFY(isGood(parseMetalink("<!DOCTYPE a [<!ENTITY x \"&y;\"><!ENTITY y \"&x;\">]><a>" +
                                     goodElements + "<b>&x;</b><url>https://two.example/</url></a>")));
    }

    void aSmallEntityOfTheDocumentsOwnIsExpanded() {
        const Metalink metalink =
            parseMetalink("<!DOCTYPE a [<!ENTITY host \"one.example\">]><a><url>https://&host;/</url></a>");
        QCOMPARE(metalink.mirrors, QList<QUrl>{QUrl(QStringLiteral("https://one.example/"))});
    }

    void onlyATagHasAttributes_data() {
        QTest::addColumn<QByteArray>("text");
        const QByteArray equals(1000, '=');
        QTest::newRow("text") << equals;
        QTest::newRow("text after a comment") << "<!-- -->" + equals;
        QTest::newRow("a comment") << "<!--<b " + equals + "-->";
        QTest::newRow("CDATA") << "<![CDATA[<b " + equals + "]]>";
        QTest::newRow("an instruction") << "<?a <b " + equals + "?>";
    }
    void onlyATagHasAttributes() {
        QFETCH(QByteArray, text);
        QVERIFY(isGood(parseMetalink("<a>" + text + goodElements + "</a>")));
    }

    void externalEntitiesAreNeverFetched_data() {
        QTest::addColumn<QByteArray>("declarations");
        QTest::newRow("general") << QByteArray("<!DOCTYPE a [<!ENTITY e SYSTEM \"@/e\">]>");
        QTest::newRow("public") << QByteArray("<!DOCTYPE a [<!ENTITY e PUBLIC \"x\" \"@/e\">]>");
        QTest::newRow("subset") << QByteArray("<!DOCTYPE a SYSTEM \"@/d\" [<!ENTITY e SYSTEM \"@/e\">]>");
        QTest::newRow("parameter") << QByteArray(
            "<!DOCTYPE a [<!ENTITY % p SYSTEM \"@/p\"> %p; <!ENTITY e \"\">]>");
    }
    void externalEntitiesAreNeverFetched() {
        QFETCH(QByteArray, declarations);
        TestHttpsServer server;
        const QByteArray address = server.base().toUtf8();
        for (const QByteArray &place : {address, QByteArray("file:///etc")}) {
            QByteArray document =
                declarations + "<a><url>https://one.example/&e;</url><hash type='sha-256'>&e;</hash></a>";
            document.replace('@', place);
            const Metalink metalink = parseMetalink(document);
            QVERIFY(!metalink.sha256);
            for (const QUrl &mirror : metalink.mirrors)
                QCOMPARE(mirror, QUrl(QStringLiteral("https://one.example/")));
        }
        QCOMPARE(server.connectionCount(), 0);
    }

    void noDocumentCostsMoreThanItsLengthWarrants_data() {
        QTest::addColumn<QByteArray>("document");
        constexpr qsizetype size = 2 * 1024 * 1024;
        const auto row = [](const char *name, const QByteArray &rest) {
            QTest::newRow(name) << QByteArray("<a>" + goodElements + rest);
        };
        row("attributes", "<b " + numbered(" a", "=''", size) + "/>");
        row("attributes behind a bracket", "<b [" + numbered(" a", "=''", size) + "/>");
        row("just so many attributes", repeated("<b" + numbered(" a", "=''", 1600) + "/>", size));
        row("one attribute", "<b a='" + QByteArray(size, 'x') + "'/>");
        row("references in an attribute", "<b a='" + repeated("&amp;", size) + "'/>");
        row("depth", repeated("<b>", size));
        row("empty elements", repeated("<b/>", size));
        row("text", QByteArray(size, 'x') + "</a>");
        row("blanks in a url", "<url>" + QByteArray(size, ' ') + "</url></a>");
        row("text around elements", repeated(QByteArray(1000, ' ') + "<b/>", size) + "</a>");
        row("comments", repeated("<!---->", size));
        row("one comment", "<!--" + repeated(">-<", size));
        row("CDATA", repeated("<![CDATA[]]>", size));
        row("one CDATA", "<![CDATA[" + repeated("]>", size));
        row("instructions", repeated("<?a?>", size));
        row("a name", "<" + QByteArray(size, 'x'));
        row("urls", repeated("<url>https://x</url>", size));
        row("hashes", repeated("<hash type='sha-256'>x</hash>", size));
        row("quotes", "<b " + repeated("'\"", size));
        row("openings", QByteArray(size, '<'));
        const auto declared = [](const char *name, const QByteArray &declarations,
                                 const QByteArray &content) {
            QTest::newRow(name) << QByteArray("<!DOCTYPE a [" + declarations + "]><a>" + goodElements +
                                              content + "</a>");
        };
        const QByteArray large(4000, 'x');
        declared("one large entity", "<!ENTITY e \"" + large + "\">", repeated("&e;", size));
        declared("one large entity in an attribute", "<!ENTITY e \"" + large + "\">",
                 "<b a='" + repeated("&e;", size) + "'/>");
        declared("entities", numbered("<!ENTITY e", " 'x'>", size / 2), numbered("&e", ";", size / 2));
        declared("elements in an entity", "<!ENTITY e \"" + repeated("<b/>", 4000) + "\">",
                 repeated("&e;", size));
        declared("attributes in an entity", "<!ENTITY e \"<b " + numbered("a", "='' ", 3800) + "/>\">",
                 repeated("&e;", size));
        declared("attribute lists", "<!ATTLIST b " + numbered(" a", " ID #IMPLIED", size / 2) + ">",
                 repeated("<b/>", size / 2));
        declared("many attribute lists", numbered("<!ATTLIST b a", " ID #IMPLIED>", size / 2),
                 repeated("<b/>", size / 2));
        declared(
            "parameter entities",
            numbered("<!ENTITY % e", " '<!ATTLIST b c CDATA \"\">'>", size / 2) + repeated("%e0;", size / 2),
            "<b/>");
        declared("declarations far apart", repeated("<!ENTITY" + QByteArray(2000, ' ') + "e 'x'>", size), "");
        declared("blanks behind declarations", numbered("<!ENTITY e", " 'x'>", size / 2),
                 QByteArray(size / 2, ' '));
        declared("notations", numbered("<!NOTATION n", " SYSTEM 'x'>", size / 2), "");
        declared("unparsed entities",
                 numbered("<!NOTATION n", " SYSTEM 'x'>", size / 4) +
                     numbered("<!ENTITY u", " SYSTEM 'x' NDATA n1>", size / 4),
                 "");
        declared("element declarations", numbered("<!ELEMENT e", " ANY>", size), "");
    }
    void noDocumentCostsMoreThanItsLengthWarrants() {
        QFETCH(QByteArray, document);
        const double before = processorSeconds();
        const Metalink metalink = parseMetalink(document);
        const double taken = processorSeconds() - before;
        QVERIFY(keepsItsPromises(metalink));
        // Half a second, or several under a sanitizer. In quadratic time the fastest of them would take half
        // a minute, most of them hours.
        QVERIFY2(taken < 15, qPrintable(QString::number(taken)));
    }

    void twentyThousandMutatedDocumentsKeepEveryPromise() {
        const QList<QByteArray> seeds{
            "<?xml version='1.0' encoding='UTF-8'?><metalink xmlns='urn:x'><file name='a'><size>1</size>" +
                goodElements + "<url priority='1'> http://two.example/a?b&amp;c </url></file></metalink>",
            "<!DOCTYPE a [<!ENTITY h \"one.example\"><!ENTITY i "
            "'&h;&h;'>]><a><url>https://&h;/<![CDATA[x]]>&#65;</url>"
            "<!-- c --><hash type='SHA256'>&i;</hash></a>"};
        const QList<QByteArray> words{"<url>",
                                      "</url>",
                                      "<hash type='sha-256'>",
                                      "</hash>",
                                      "<a>",
                                      "</a>",
                                      "https://",
                                      "&h;",
                                      "&#0;",
                                      "]]>",
                                      "<![CDATA[",
                                      "<!--",
                                      "-->",
                                      "<!DOCTYPE a [",
                                      "<!ENTITY % p '",
                                      "<!ATTLIST a b CDATA ''>",
                                      "]>",
                                      "'",
                                      "\"",
                                      "=",
                                      "\xff",
                                      "\xEF\xBB\xBF",
                                      " encoding='UTF-16'",
                                      QByteArray(1, '\0')};
        std::mt19937 random(20260130);
        const auto below = [&](qsizetype count) {
            return std::uniform_int_distribution<qsizetype>(0, std::max<qsizetype>(count - 1, 0))(random);
        };
        for (int round = 0; round < 20000; ++round) {
            QByteArray document = seeds[below(seeds.size())];
            for (qsizetype change = below(6); change >= 0; --change) {
                const qsizetype at = below(document.size());
                switch (below(5)) {
                    case 0:
                        document.insert(at, words[below(words.size())]);
                        break;
                    case 1:
                        document.remove(at, 1 + below(10));
                        break;
                    case 2:
                        document.truncate(at);
                        break;
                    case 3:
                        document.insert(at, document.mid(below(document.size()), below(60)));
                        break;
                    default:
                        if (!document.isEmpty())
                            document[at] = static_cast<char>(below(256));
                }
            }
            QVERIFY2(keepsItsPromises(parseMetalink(document)), document.toPercentEncoding().constData());
        }
    }
};

TEST_CLASS(MetalinkHazardsTest, QCoreApplication)
#include "MetalinkHazardsTest.moc"

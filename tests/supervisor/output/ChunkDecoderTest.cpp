#include "ChunkDecoder.h"
#include "PlainDecoder.h"
#include "TestProgram.h"
#include "Utf8.h"

#include <QTest>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

using namespace ferrolt;

namespace {

/// The element that a chunk completes; the chunk must be small enough for one.
LogElement take(ChunkDecoder &decoder, const std::string &bytes) {
    auto arrived = std::as_bytes(std::span(bytes));
    LogElement element = decoder.take(arrived);
    return arrived.empty() ? element : LogElement("not all was taken");
}

/// The elements that a chunk of any size completes.
std::vector<LogElement> takeAll(ChunkDecoder &decoder, const std::string &bytes) {
    std::vector<LogElement> elements;
    for (auto arrived = std::as_bytes(std::span(bytes)); !arrived.empty();)
        elements.push_back(decoder.take(arrived));
    return elements;
}

std::string joined(const std::vector<LogElement> &elements) {
    std::string text;
    for (const LogElement &element : elements)
        text += element.toStdString();
    return text;
}

/// Valid text mixed with the ill-formed sequences that a log may get.
std::string sample(std::mt19937 &random) {
    static const std::vector<std::string> pieces{
        "line one\n", "a", "\t", std::string(1, '\0'), "\xC3\xA9", "\xE2\x82\xAC", "\xEF\xBB\xBF",
        "\xF0\x9F\x9A\x80", "\xED\x9F\xBF", "\xEE\x80\x80", "\xF4\x8F\xBF\xBF",
        // ill-formed: overlong, surrogate, too high, lone continuation, cut short, never valid
        "\xC0\x80", "\xE0\x80\x80", "\xF0\x80\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\x80",
        "\xBF\xBF\xBF\xBF", "\xE2\x82", "\xF0\x9F\x9A", "\xF0\x9F", "\xC3", "\xFF", "\xFE\xFD\xFC",
        "\xF8\x88\x80\x80\x80", std::string(40, 'x')};
    std::string text;
    for (int count = std::uniform_int_distribution(0, 6)(random); count > 0; --count) {
        text += pieces[std::uniform_int_distribution<std::size_t>(0, pieces.size() - 1)(random)];
    }
    for (int damage = std::uniform_int_distribution(0, 3)(random) - 1; damage > 0 && !text.empty(); --damage)
        text[std::uniform_int_distribution<std::size_t>(0, text.size() - 1)(random)] =
            static_cast<char>(std::uniform_int_distribution(0, 255)(random));
    return text;
}

}  // namespace

class ChunkDecoderTest : public QObject {
    Q_OBJECT

    static constexpr int manyCases = FERROLT_SANITIZED ? 5'000 : 20'000;

  private Q_SLOTS:
    void aCharacterSplitOverTwoReadsArrivesWholeInTheSecondElement() {
        ChunkDecoder decoder;
        QCOMPARE(take(decoder, "\xE2"), LogElement());
        QCOMPARE(take(decoder, "\x82\xAC!"), LogElement("\xE2\x82\xAC!"));
    }

    void bytesThatAreNotUtf8ComeOutWithReplacementCharacters() {
        ChunkDecoder decoder;
        QCOMPARE(take(decoder, "\xFF\xFE\xFD\xFC"),
                 LogElement("\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"));
        QCOMPARE(take(decoder, "ok"), LogElement("ok"));
    }

    void upToThreeBytesThatAreNotUtf8WaitForMore() {
        ChunkDecoder decoder;
        QCOMPARE(take(decoder, "\xFF"), LogElement());
        QCOMPARE(take(decoder, "\xFF"), LogElement());
        QCOMPARE(take(decoder, "\xFF"), LogElement());
        QCOMPARE(take(decoder, "a"), LogElement("\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"
                                                "a"));
    }

    void anInvalidTailOfUpToThreeBytesIsHeldBackWithoutItsText() {
        ChunkDecoder decoder;
        QCOMPARE(take(decoder, "abc\xFF\xFF"), LogElement("abc"));
        QCOMPARE(take(decoder, "de"), LogElement("\xEF\xBF\xBD\xEF\xBF\xBD"
                                                 "de"));
    }

    void severalLinesOfOneReadAreOneElementAndAnUnfinishedLineIsNotJoined() {
        ChunkDecoder decoder;
        QCOMPARE(take(decoder, "line one\nline two\npart"), LogElement("line one\nline two\npart"));
        QCOMPARE(take(decoder, " of three\n"), LogElement(" of three\n"));
    }

    void aByteOrderMarkAtTheStartOfAChunkIsTextAndSurvives() {
        ChunkDecoder decoder;
        QCOMPARE(take(decoder, "\xEF\xBB\xBFhello"), LogElement("\xEF\xBB\xBFhello"));
        QCOMPARE(take(decoder, "\xEF\xBB\xBF"), LogElement("\xEF\xBB\xBF"));
    }

    void aMaximalIllFormedPieceBecomesOneReplacementCharacter() {
        QCOMPARE(utf8::withReplacements("\xF0\x9F\x9A"
                                        "a\xE2\x82"
                                        "b\xC0\x80"
                                        "c",
                                        65536)
                     .text,
                 QByteArray("\xEF\xBF\xBD"
                            "a\xEF\xBF\xBD"
                            "b\xEF\xBF\xBD\xEF\xBF\xBD"
                            "c"));
    }

    void noTextIsLargerThanTheMaxNorHoldsMoreMemoryThoughReplacementsAreLong() {
        const std::string aLot = std::string(ChunkDecoder::maxText, '\xFF');
        std::mt19937 random(5);
        std::string mixed;
        while (mixed.size() < 3 * ChunkDecoder::maxText)
            mixed += sample(random);
        for (const std::string &bytes : {aLot, mixed}) {
            ChunkDecoder decoder;
            const std::vector<LogElement> elements = takeAll(decoder, bytes);
            for (const LogElement &element : elements) {
                QVERIFY(element.size() <= qsizetype(ChunkDecoder::maxText));
                QVERIFY(element.capacity() <= element.size() + 64);
            }
            // Every element but the last is full: less than one replacement character is missing.
            const std::string all = joined(elements) + joined(takeAll(decoder, "the end"));
            QCOMPARE(elements.size(), all.size() / (ChunkDecoder::maxText - 3) + 1);
            QVERIFY(all ==
                    PlainDecoder::replaced(bytes + "the end"));  // not QCOMPARE: it would print all of it
        }
    }

    void whatIsTakenInPartsIsTakenAsIfLessHadArrivedAtATime() {
        std::mt19937 random(9);
        for (int round = 0; round < 20; ++round) {
            std::string bytes(ChunkDecoder::maxText - 40, 'x');
            for (int i = 0; i < 12; ++i)
                bytes += sample(random);
            ChunkDecoder decoder;
            PlainDecoder plainDecoder;
            std::size_t at = 0;
            for (auto arrived = std::as_bytes(std::span(bytes)); !arrived.empty();) {
                const std::size_t before = arrived.size();
                const LogElement element = decoder.take(arrived);
                const std::string part = bytes.substr(at, before - arrived.size());
                at += part.size();
                QVERIFY(!part.empty());
                QVERIFY(element.toStdString() == plainDecoder.take(part));
            }
        }
    }

    void aFullReadThatCompletesAHeldBackCharacterIsOneElement() {
        ChunkDecoder decoder;
        QCOMPARE(take(decoder, "\xF0\x9F\x9A"), LogElement());
        const std::string read = '\x80' + std::string(65535, 'x');
        QVERIFY(take(decoder, read).toStdString() == "\xF0\x9F\x9A" + read);
    }

    void aFullReadIsTakenWholeThoughItsLastBytesAreNoText() {
        ChunkDecoder decoder;
        QCOMPARE(take(decoder, "\xF0\x9F\x9A"), LogElement());
        const std::string text = '\x80' + std::string(65532, 'x');
        QVERIFY(take(decoder, text + "\xFF\xFF\xFF").toStdString() == "\xF0\x9F\x9A" + text);
        QCOMPARE(take(decoder, "!"), LogElement("\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD!"));
    }

    void anyTextSplitAtEveryOffsetIsDecodedAsThePlainRuleSays() {
        std::mt19937 random(20261121);
        int cases = 0;
        for (int round = 0; cases < manyCases; ++round) {
            const std::string text = sample(random);
            for (std::size_t offset = 0; offset <= text.size(); ++offset, ++cases) {
                ChunkDecoder decoder;
                PlainDecoder plainDecoder;
                for (const std::string &part :
                     {text.substr(0, offset), text.substr(offset), std::string("end.")})
                    QCOMPARE(take(decoder, part).toStdString(), plainDecoder.take(part));
            }
        }
    }

    void anyTextInRandomPiecesIsDecodedAsThePlainRuleSays() {
        std::mt19937 random(7);
        for (int round = 0; round < manyCases; ++round) {
            ChunkDecoder decoder;
            PlainDecoder plainDecoder;
            const std::string text = sample(random) + sample(random);
            for (std::size_t at = 0; at < text.size();) {
                const std::size_t length = std::uniform_int_distribution<std::size_t>(1, 9)(random);
                const std::string part = text.substr(at, length);
                QCOMPARE(take(decoder, part).toStdString(), plainDecoder.take(part));
                at += length;
            }
        }
    }

    void aMultiByteCharacterAtEveryPlaceOfALongAsciiRunIsFound() {
        for (std::size_t at = 0; at < 100; ++at) {
            std::string text(100, 'x');
            text[at] = '\xFF';
            QCOMPARE(utf8::validPrefixLength(text), at);
        }
    }
};

TEST_CLASS(ChunkDecoderTest, QCoreApplication)
#include "ChunkDecoderTest.moc"

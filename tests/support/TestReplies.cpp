#include "TestHttpsServer.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace ferrolt {

namespace {

QByteArray decimal(std::int64_t number) {
    return QByteArray::number(static_cast<qlonglong>(number));
}

void announce(TestExchange &exchange, const QByteArray &body) {
    exchange.head(200, {{"Content-Length", decimal(body.size())}});
}

}  // namespace

void TestExchange::head(int status, const TestHeaders &headers) {
    QByteArray text = "HTTP/1.1 " + decimal(status) + " Whatever\r\n";
    for (const auto &[name, value] : headers)
        text += name + ": " + value + "\r\n";
    send(text + "\r\n");
}

void TestExchange::reply(int status, const QByteArray &body, const TestHeaders &headers) {
    TestHeaders all = headers;
    all["Content-Length"] = decimal(body.size());
    head(status, all);
    send(body);
}

TestHttpsServer::Handler TestHttpsServer::replies(int status, const QByteArray &body,
                                                  const TestHeaders &headers) {
    return [=](TestExchange &exchange) { exchange.reply(status, body, headers); };
}

TestHttpsServer::Handler TestHttpsServer::redirectsTo(const QUrl &target, int status) {
    return replies(status, "<html>Moved</html>", {{"Location", target.toEncoded()}});
}

TestHttpsServer::Handler TestHttpsServer::cutsAfter(qsizetype count, const QByteArray &body) {
    return [=](TestExchange &exchange) {
        announce(exchange, body);
        exchange.send(body.left(count));
        exchange.close();
    };
}

TestHttpsServer::Handler TestHttpsServer::resetsAfter(qsizetype count, const QByteArray &body) {
    return [=](TestExchange &exchange) {
        announce(exchange, body);
        exchange.send(body.left(count));
        exchange.reset();
    };
}

TestHttpsServer::Handler TestHttpsServer::stallsAfter(qsizetype count, const QByteArray &body) {
    return [=](TestExchange &exchange) {
        announce(exchange, body);
        exchange.send(body.left(count));
        exchange.stall();
    };
}

TestHttpsServer::Handler TestHttpsServer::neverAnswers() {
    return [](TestExchange &exchange) { exchange.stall(); };
}

TestHttpsServer::Handler TestHttpsServer::trickles(const QByteArray &body, int milliseconds) {
    return [=](TestExchange &exchange) {
        announce(exchange, body);
        for (const char byte : body)
            if (!exchange.send(QByteArray(1, byte)) || !exchange.pause(milliseconds))
                return;
    };
}

TestHttpsServer::Handler TestHttpsServer::repliesCompressed(int status, const QByteArray &body) {
    return replies(status, gzipped(body), {{"Content-Encoding", "gzip"}});
}

TestHttpsServer::Handler TestHttpsServer::repliesChunked(int status, const QByteArray &body,
                                                         qsizetype chunk) {
    return [=](TestExchange &exchange) {
        exchange.head(status, {{"Transfer-Encoding", "chunked"}});
        for (qsizetype at = 0; at < body.size(); at += chunk) {
            const QByteArray piece = body.mid(at, chunk);
            exchange.send(QByteArray::number(piece.size(), 16) + "\r\n" + piece + "\r\n");
        }
        exchange.send("0\r\n\r\n");
    };
}

TestHttpsServer::Handler TestHttpsServer::repliesPattern(std::int64_t count) {
    return [=](TestExchange &exchange) {
        const QByteArray pattern = testPattern();
        exchange.head(200, {{"Content-Length", decimal(count)}});
        for (std::int64_t left = count; left > 0; left -= pattern.size())
            if (!exchange.send(left < pattern.size() ? pattern.left(left) : pattern))
                return;
    };
}

QByteArray testPattern() {
    QByteArray bytes(1024 * 1024, Qt::Uninitialized);
    std::uint32_t state = 1;
    for (char &byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

/// A gzip member (RFC 1952) is the deflate stream that zlib's format holds too, in another wrapping.
QByteArray gzipped(const QByteArray &bytes) {
    std::uint32_t sum = ~0U;
    for (const char byte : bytes) {
        sum ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum >> 1) ^ ((sum & 1) != 0 ? 0xEDB88320U : 0U);
    }
    sum = ~sum;
    const auto littleEndian = [](std::uint32_t number) {
        QByteArray four(4, Qt::Uninitialized);
        for (char &byte : four) {
            byte = static_cast<char>(number & 0xFF);
            number >>= 8;
        }
        return four;
    };
    // qCompress puts four bytes of length in front of zlib's two bytes, and zlib four bytes of checksum
    // behind.
    const QByteArray zlib = qCompress(bytes, 9);
    return QByteArray("\x1f\x8b\x08\0\0\0\0\0\0\x03", 10) + zlib.mid(6, zlib.size() - 10) +
           littleEndian(sum) + littleEndian(static_cast<std::uint32_t>(bytes.size()));
}

}  // namespace ferrolt

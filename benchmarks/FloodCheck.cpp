#include "FloodCheck.h"

#include "FloodText.h"
#include "Measuring.h"
#include "ProcessFacts.h"

#include <csignal>
#include <cstdint>

namespace ferrolt::bench {

namespace {

constexpr std::size_t blockSize = 65536;

/// The last `size` bytes of a flood of `written` bytes.
QByteArray lastBytes(std::uint64_t written, std::size_t size, const std::string &kind) {
    std::string block = floodBlock(blockSize, kind);
    QByteArray bytes;
    std::uint64_t number = (written - size) / blockSize;
    const std::uint64_t skipped = (written - size) % blockSize;
    while (static_cast<std::size_t>(bytes.size()) < skipped + size) {
        numberFloodBlock(block, static_cast<long long>(number++));
        bytes.append(block.data(), static_cast<qsizetype>(block.size()));
    }
    return bytes.mid(static_cast<qsizetype>(skipped), static_cast<qsizetype>(size));
}

}  // namespace

void requireFloodInLog(pid_t child, const LogBuffer &log, const std::string &kind) {
    kill(child, SIGSTOP);
    runUntil([&] { return processState(child) == 'T'; }, "a stopped child");
    const auto written = static_cast<std::uint64_t>(bytesWrittenBy(child));
    const QByteArray newestHead = "block " + QByteArray::number(quint64((written - 16) / blockSize)) + '\n';
    const auto hasArrived = [&] {
        if (log.firstSequence() == 0)
            return false;  // the launcher's own messages are still in it
        const QByteArray text = log.joined();
        // A stopped write may have cut a character in two, and bytes that are not UTF-8 are replaced: of text
        // other than plain ASCII only the newest block's number is looked for.
        if (!kind.empty())
            return text.contains(newestHead);
        return text == lastBytes(written, log.byteCount(), kind);
    };
    runUntil(hasArrived, "the text of a flood, in the log as it was written");
    kill(child, SIGCONT);
}

}  // namespace ferrolt::bench

#include "InChild.h"
#include "Pipe.h"
#include "PipeReader.h"
#include "StartReader.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QTest>

#include <cerrno>
#include <csignal>
#include <mutex>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

using namespace ferrolt;

/// A pipe's capacity, which must make no difference for its reader.
class WidenPipeTest : public QObject {
    Q_OBJECT

    static constexpr int wide = 256 * 1024;

    static int sizeOf(const FileDescriptor &end) { return fcntl(end.get(), F_GETPIPE_SZ); }

    /// Writes the text to a reader, and returns the sizes of the reads; empty when any of it, or of what was
    /// already in the pipe, was lost.
    static std::vector<std::size_t> sizesOfReads(Pipe pipe, const std::string &text,
                                                 const std::string &already = {}) {
        std::mutex mutex;
        std::string arrived;
        std::vector<std::size_t> sizes;
        const auto reader = startReader(std::move(pipe.readingEnd), [&](std::span<const std::byte> bytes) {
            std::lock_guard lock(mutex);
            arrived.append(reinterpret_cast<const char *>(bytes.data()), bytes.size());
            sizes.push_back(bytes.size());
        });
        for (std::size_t at = 0; at < text.size();) {
            const ssize_t count = write(pipe.writingEnd.get(), text.data() + at, text.size() - at);
            if (count < 0)
                return {};
            at += static_cast<std::size_t>(count);
        }
        pipe.writingEnd.close();
        reader->childHasEnded();
        std::lock_guard lock(mutex);
        return arrived == already + text ? sizes : std::vector<std::size_t>();
    }

  private Q_SLOTS:
    void initTestCase() { std::signal(SIGPIPE, SIG_IGN); }

    void aReaderWidensItsPipe() {
        Pipe pipe = Pipe::open();
        QVERIFY(sizeOf(pipe.writingEnd) < wide);
        const auto reader = startReader(std::move(pipe.readingEnd), [](auto) {});
        QCOMPARE(sizeOf(pipe.writingEnd), wide);
        pipe.writingEnd.close();
        reader->childHasEnded();
    }

    void aPipeThatIsWiderAlreadyStaysAsItIs() {
        Pipe pipe = Pipe::open();
        const int wider = fcntl(pipe.writingEnd.get(), F_SETPIPE_SZ, 2 * wide);
        QCOMPARE(wider, 2 * wide);
        const auto reader = startReader(std::move(pipe.readingEnd), [](auto) {});
        QCOMPARE(sizeOf(pipe.writingEnd), wider);
        pipe.writingEnd.close();
        reader->childHasEnded();
    }

    void noReadOfAWidePipeTakesMoreThan64KiB() {
        Pipe pipe = Pipe::open();
        const std::string text(static_cast<std::size_t>(wide), 'w');
        QCOMPARE(fcntl(pipe.writingEnd.get(), F_SETPIPE_SZ, wide), wide);
        // The whole text is in the pipe before the first read.
        QCOMPARE(write(pipe.writingEnd.get(), text.data(), text.size()), ssize_t(text.size()));
        const std::vector<std::size_t> sizes = sizesOfReads(std::move(pipe), {}, text);
        QCOMPARE(sizes, std::vector<std::size_t>(wide / PipeReader::maxRead, PipeReader::maxRead));
    }

    void whereTheSystemRefusesThePipeStaysAsItIsAndIsReadAllTheSame() {
        const int code = inChild([] {
            if (!obeyLimits())
                return 1;
            // The kernel limits the total for all pipes of a user. These use it up.
            std::vector<Pipe> greedy;
            for (;;) {
                greedy.push_back(Pipe::open());
                const int end = greedy.back().writingEnd.get();
                if (end < 0)
                    return 2;
                if (fcntl(end, F_SETPIPE_SZ, 1 << 20) < 0 && fcntl(end, F_SETPIPE_SZ, wide) < 0)
                    break;
            }
            Pipe pipe = Pipe::open();
            const int before = sizeOf(pipe.writingEnd);
            if (before >= wide)
                return 3;
            const FileDescriptor kept(fcntl(pipe.writingEnd.get(), F_DUPFD_CLOEXEC, 3));
            const std::vector<std::size_t> sizes = sizesOfReads(std::move(pipe), std::string(300'000, 'r'));
            if (sizes.empty())
                return 4;
            return sizeOf(kept) == before ? 0 : 5;
        });
        QCOMPARE(code, 0);
    }
};

TEST_CLASS(WidenPipeTest, QCoreApplication)
#include "WidenPipeTest.moc"

#include "CpuTime.h"
#include "Pipe.h"
#include "PipeReader.h"
#include "ProcessFacts.h"
#include "StartReader.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QTest>

#include <atomic>
#include <chrono>
#include <csignal>
#include <future>
#include <latch>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

using namespace ferrolt;

namespace {

/// Collects the reads that a reader passes on. Any thread.
class Collector {
  public:
    PipeReader::Receiver receiver() {
        return [this](std::span<const std::byte> bytes) {
            std::lock_guard lock(mutex);
            reads.emplace_back(reinterpret_cast<const char *>(bytes.data()), bytes.size());
        };
    }
    std::vector<std::string> taken() const {
        std::lock_guard lock(mutex);
        return reads;
    }
    std::string joined() const {
        std::string all;
        for (const std::string &read : taken())
            all += read;
        return all;
    }

  private:
    mutable std::mutex mutex;
    std::vector<std::string> reads;
};

void write(const Pipe &pipe, const std::string &bytes) {
    for (std::size_t at = 0; at < bytes.size();) {
        const ssize_t count = ::write(pipe.writingEnd.get(), bytes.data() + at, bytes.size() - at);
        if (count < 0)
            return;
        at += static_cast<std::size_t>(count);
    }
}

/// Whether nobody reads the pipe any more: then the kernel reports an error on the writing end.
bool isClosedForWriting(const Pipe &pipe) {
    pollfd end{pipe.writingEnd.get(), POLLOUT, 0};
    return poll(&end, 1, 0) == 1 && (end.revents & POLLERR) != 0;
}

}  // namespace

class PipeReaderTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase() {
        std::signal(SIGPIPE, SIG_IGN);
        descriptors = openDescriptors();
    }

    /// No test leaves a thread or a descriptor behind.
    void cleanup() {
        QVERIFY(waitWithoutEvents(
            [&] { return threadsNamed("child-output") == 0 && openDescriptors() == descriptors; }));
    }

    void eachArrivalIsHandedOnOnceAndInOrder() {
        Collector collector;
        Pipe pipe = Pipe::open();
        const auto reader = startReader(std::move(pipe.readingEnd), collector.receiver());
        write(pipe, "one");
        QVERIFY(waitWithoutEvents([&] { return collector.taken().size() == 1; }));
        write(pipe, "two");
        QVERIFY(waitWithoutEvents([&] { return collector.taken().size() == 2; }));
        QCOMPARE(collector.taken(), (std::vector<std::string>{"one", "two"}));
    }

    void whileNothingComesTheThreadSleeps() {
        Collector collector;
        Pipe pipe = Pipe::open();
        const auto reader = startReader(std::move(pipe.readingEnd), collector.receiver());
        write(pipe, "one");
        QVERIFY(waitWithoutEvents([&] { return collector.taken().size() == 1; }));
        const CpuTime computed(CpuTime::Of::Process);
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        QVERIFY(computed.milliseconds() < 20);
    }

    void noReadIsLargerThan64KiBAndNothingIsLost() {
        Collector collector;
        Pipe pipe = Pipe::open();
        const auto reader = startReader(std::move(pipe.readingEnd), collector.receiver());
        std::string sent;
        for (int i = 0; i < 100'000; ++i)
            sent += std::to_string(i) + '\n';
        write(pipe, sent);
        pipe.writingEnd.close();
        reader->childHasEnded();
        QCOMPARE(collector.joined(), sent);
        for (const std::string &read : collector.taken())
            QVERIFY(read.size() <= PipeReader::maxRead);
    }

    void theEndOfThePipeClosesItAndEndsTheThread() {
        Collector collector;
        {
            Pipe pipe = Pipe::open();
            const auto reader = startReader(std::move(pipe.readingEnd), collector.receiver());
            QVERIFY(reader != nullptr);
        }
        QVERIFY(waitWithoutEvents(
            [&] { return threadsNamed("child-output") == 0 && openDescriptors() == descriptors; }));
        QVERIFY(collector.taken().empty());
    }

    void aDetachedReaderStillDrainsThePipeButHandsNothingOn() {
        Collector collector;
        Pipe pipe = Pipe::open();
        const auto reader = startReader(std::move(pipe.readingEnd), collector.receiver());
        reader->detach();
        write(pipe,
              std::string(1 << 20, 'x'));  // sixteen times what a pipe holds: would block for ever unread
        reader->childHasEnded();
        QVERIFY(collector.taken().empty());
    }

    void destroyingTheReaderNeitherBlocksNorBreaksTheWriter() {
        Collector collector;
        Pipe pipe = Pipe::open();
        startReader(std::move(pipe.readingEnd), collector.receiver());  // dropped at once
        write(pipe, std::string(1 << 20, 'x'));
        QVERIFY(!isClosedForWriting(pipe));
        QVERIFY(collector.taken().empty());
    }

    void theChildsEndTakesWhatIsLeftAndClosesThePipeThoughAnotherHoldsIt() {
        Collector collector;
        Pipe pipe = Pipe::open();
        const auto reader = startReader(std::move(pipe.readingEnd), collector.receiver());
        write(pipe, "last words\n");
        reader->childHasEnded();  // our writing end is still open, as a grandchild's would be
        QCOMPARE(collector.joined(), "last words\n");
        QVERIFY(isClosedForWriting(pipe));
        reader->childHasEnded();  // once more changes nothing and does not wait
    }

    /// The system gives the id of a thread that has ended to a later one.
    void theChildsEndMayComeFromAThreadWithTheIdOfTheEndedReader() {
        std::promise<std::thread::id> announced;
        Pipe pipe = Pipe::open();
        const auto reader = startReader(std::move(pipe.readingEnd), [&](std::span<const std::byte>) {
            announced.set_value(std::this_thread::get_id());
        });
        write(pipe, "x");
        const std::thread::id readingThread = announced.get_future().get();
        pipe.writingEnd.close();
        std::atomic<bool> wasTold = false;
        QVERIFY(waitWithoutEvents([&] {
            constexpr int count = 20;  // at once, so that their ids differ: more than threads have ended
            std::latch allRun(count);
            std::vector<std::thread> threads;
            for (int i = 0; i < count; ++i)
                threads.emplace_back([&] {
                    allRun.arrive_and_wait();
                    if (std::this_thread::get_id() == readingThread) {
                        reader->childHasEnded();
                        wasTold = true;
                    }
                });
            for (std::thread &thread : threads)
                thread.join();
            return wasTold.load();
        }));
    }

    void aGrandchildThatFloodsDoesNotDelayTheChildsEnd() {
        std::atomic<std::size_t> bytes = 0;
        Pipe pipe = Pipe::open();
        const auto reader = startReader(std::move(pipe.readingEnd),
                                        [&](std::span<const std::byte> read) { bytes += read.size(); });
        std::thread grandchild([&] {
            const std::string block(65536, 'g');
            while (::write(pipe.writingEnd.get(), block.data(), block.size()) > 0) {
            }
        });
        QVERIFY(waitWithoutEvents([&] { return bytes > 1'000'000; }));
        auto ended = std::async(std::launch::async, [&] { reader->childHasEnded(); });
        QCOMPARE(ended.wait_for(std::chrono::seconds(20)), std::future_status::ready);
        grandchild.join();  // the closed pipe has ended it
    }

  private:
    int descriptors = 0;
};

TEST_CLASS(PipeReaderTest, QCoreApplication)
#include "PipeReaderTest.moc"

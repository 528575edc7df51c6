#include "Measuring.h"

#include <QCoreApplication>
#include <QEvent>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <dirent.h>
#include <fcntl.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ferrolt::bench {

namespace {

const auto probeEvent = static_cast<QEvent::Type>(QEvent::registerEventType());

std::int64_t now() {
    return std::chrono::steady_clock::now().time_since_epoch().count();
}

std::string processFile(pid_t process, const std::string &file) {
    return "/proc/" + std::to_string(process) + '/' + file;
}

double valueIn(const std::string &file, const std::string &name) {
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);)
        if (line.rfind(name, 0) == 0)
            return std::atof(line.c_str() + name.size());
    return 0;
}

}  // namespace

void runFor(std::chrono::milliseconds time) {
    QEventLoop loop;
    QTimer::singleShot(time, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

void runUntil(const std::function<bool()> &condition, const char *what) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            std::fprintf(stderr, "What was to be measured did not come: %s\n", what);
            std::exit(2);
        }
        runFor(std::chrono::milliseconds(5));
    }
}

double bytesWrittenBy(pid_t process) {
    return valueIn(processFile(process, "io"), "wchar:");
}

long statusOf(pid_t process, const std::string &name) {
    return static_cast<long>(valueIn(processFile(process, "status"), name));
}

ThreadSwitches contextSwitches(pid_t process) {
    ThreadSwitches switches;
    DIR *threads = opendir(processFile(process, "task").c_str());
    if (threads == nullptr)
        giveUp("A program that should be idle has ended.");
    while (const dirent *thread = readdir(threads)) {
        if (thread->d_name[0] == '.')
            continue;
        const std::string file = processFile(process, std::string("task/") + thread->d_name + "/status");
        switches[std::atoi(thread->d_name)] = static_cast<long>(valueIn(file, "voluntary_ctxt_switches:") +
                                                                valueIn(file, "nonvoluntary_ctxt_switches:"));
    }
    closedir(threads);
    return switches;
}

namespace {

double processorSecondsOf(int whom) {
    rusage usage{};
    getrusage(whom, &usage);
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

}  // namespace

double processorSeconds() {
    return processorSecondsOf(RUSAGE_SELF);
}

double threadSeconds() {
    return processorSecondsOf(RUSAGE_THREAD);
}

double maxResidentMegabytes() {
    return static_cast<double>(statusOf(getpid(), "VmHWM:")) * 1024 / 1e6;
}

void giveBackFreeMemory() {
    malloc_trim(0);
}

void forgetMaxResident() {
    std::ofstream("/proc/self/clear_refs") << "5\n";
}

void giveUp(const std::string &why) {
    std::fprintf(stderr, "%s\n", why.c_str());
    std::exit(2);
}

void narrowPipeOf(pid_t child) {
    const int end = open(processFile(child, "fd/1").c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    // Refused while the pipe holds more than it then could: the child is held until what it wrote has been
    // read.
    kill(child, SIGSTOP);
    for (int turn = 0; turn < 2000 && fcntl(end, F_SETPIPE_SZ, 65536) < 0; ++turn)
        usleep(1000);
    const bool isNarrow = end >= 0 && fcntl(end, F_GETPIPE_SZ) == 65536;
    kill(child, SIGCONT);
    if (!isNarrow) {
        std::fprintf(stderr, "The child's pipe could not be narrowed.\n");
        std::exit(2);
    }
    close(end);
}

void endProcess(pid_t process) {
    kill(process, SIGTERM);
    for (int turn = 0; turn < 500; ++turn) {
        if (waitpid(process, nullptr, WNOHANG) != 0)
            return;
        usleep(10'000);
    }
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
}

StallProbe::StallProbe() : thread([this] { run(); }) {}

StallProbe::~StallProbe() {
    ended = true;
    thread.join();
}

void StallProbe::run() {
    while (!ended) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (postedAt.load() != 0)
            continue;
        postedAt = now();
        QCoreApplication::postEvent(this, new QEvent(probeEvent));
    }
}

bool StallProbe::event(QEvent *event) {
    if (event->type() != probeEvent)
        return QObject::event(event);
    double wait = static_cast<double>(now() - postedAt.load()) * 1e-6;
    postedAt = 0;
    do {
        waits.push_back(wait);
        wait -= 1;
    } while (wait > 0);
    return true;
}

Samples StallProbe::take() {
    return std::exchange(waits, {});
}

bool TimedApplication::notify(QObject *receiver, QEvent *event) {
    // Between two events of one go the event loop takes hardly any time. All timers that are due have their
    // turn in one go; a timer that comes for the second time shows that the event loop has looked at
    // everything else meanwhile.
    constexpr auto gap = std::chrono::microseconds(100);
    if (depth == 0) {
        const auto begin = Clock::now();
        const int timer = event->type() == QEvent::Timer ? static_cast<QTimerEvent *>(event)->timerId() : 0;
        const bool isSeen = std::find(timersOfSpan.begin(), timersOfSpan.end(), timer) != timersOfSpan.end();
        if (begin - spanEnd > gap || isSeen) {
            spanBegin = begin;
            timersOfSpan.clear();
        }
        if (timer != 0)
            timersOfSpan.push_back(timer);
    }
    ++depth;
    const bool result = QApplication::notify(receiver, event);
    --depth;
    if (depth == 0) {
        spanEnd = Clock::now();
        worst = std::max(worst, spanEnd - spanBegin);
    }
    return result;
}

double TimedApplication::takeWorst() {
    // What goes on now belongs to what comes.
    spanBegin = Clock::now();
    timersOfSpan.clear();
    return std::chrono::duration<double, std::milli>(std::exchange(worst, {})).count();
}

PaintCounter::PaintCounter(QObject *widget) {
    widget->installEventFilter(this);
}

bool PaintCounter::eventFilter(QObject *watched, QEvent *event) {
    count += event->type() == QEvent::Paint;
    return QObject::eventFilter(watched, event);
}

}  // namespace ferrolt::bench

#include "Peers.h"

#include "FileDescriptor.h"
#include "Measuring.h"

#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ferrolt::bench {

namespace {

struct PlainPipe {
    FileDescriptor reading;
    FileDescriptor writing;
};

PlainPipe plainPipe() {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0)
        std::exit(2);
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

/// From after the start-up until `length` later.
double rateOf(pid_t child, std::chrono::milliseconds length) {
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const double before = bytesWrittenBy(child);
    const double took = seconds([&] { std::this_thread::sleep_for(length); });
    const double rate = (bytesWrittenBy(child) - before) / took;
    if (rate <= 0)
        giveUp("A peer has read nothing.");
    return rate;
}

}  // namespace

Words practiceChild(const Words &behaviour) {
    Words words{FERROLT_PRACTICE_CHILD};
    words.insert(words.end(), behaviour.begin(), behaviour.end());
    return words;
}

pid_t spawn(const Words &commandLine, int standardInput, int standardOutput) {
    std::vector<char *> arguments;
    for (const std::string &word : commandLine)
        arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (standardInput >= 0)
        posix_spawn_file_actions_adddup2(&actions, standardInput, 0);
    if (standardOutput >= 0)
        posix_spawn_file_actions_adddup2(&actions, standardOutput, 1);
    pid_t child = -1;
    const int error = posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        std::fprintf(stderr, "%s does not start\n", arguments[0]);
        std::exit(2);
    }
    return child;
}

CatReading::CatReading(const Words &behaviour) {
    const PlainPipe pipe = plainPipe();
    const FileDescriptor nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
    cat = spawn({"cat"}, pipe.reading.get(), nowhere.get());
    child = spawn(practiceChild(behaviour), -1, pipe.writing.get());
}

CatReading::~CatReading() {
    endProcess(child);
    endProcess(cat);
}

double throughputIntoCat(std::chrono::milliseconds length, const Words &behaviour) {
    const CatReading reading(behaviour);
    return rateOf(reading.child, length);
}

std::optional<double> throughputInTerminal(const std::string &terminal, std::chrono::milliseconds length) {
    if (QStandardPaths::findExecutable(QString::fromStdString(terminal)).isEmpty())
        return std::nullopt;
    const QTemporaryDir folder;
    const std::string idFile = folder.filePath(QStringLiteral("id")).toStdString();
    const pid_t window = spawn(
        {terminal, "-e", "sh", "-c", "echo $$ >\"$0\" && exec \"$1\" flood", idFile, FERROLT_PRACTICE_CHILD});
    pid_t child = 0;
    runUntil(
        [&] {
            QFile file(QString::fromStdString(idFile));
            child = file.open(QIODevice::ReadOnly) ? file.readAll().trimmed().toInt() : 0;
            return child > 0;
        },
        terminal.c_str());
    const double rate = rateOf(child, length);
    endProcess(window);
    return rate;
}

QueuedTextEdit queuedTextEdit(const Words &behaviour, std::chrono::milliseconds length) {
    PlainPipe pipe = plainPipe();
    Words words{FERROLT_QUEUED_TEXT_EDIT, std::to_string(length.count())};
    const Words child = practiceChild(behaviour);
    words.insert(words.end(), child.begin(), child.end());
    const pid_t peer = spawn(words, -1, pipe.writing.get());
    pipe.writing.close();
    std::string told;
    char bytes[4096];
    for (ssize_t count = 0; (count = read(pipe.reading.get(), bytes, sizeof bytes)) > 0;)
        told.append(bytes, static_cast<std::size_t>(count));
    int status = -1;
    waitpid(peer, &status, 0);
    QueuedTextEdit result;
    std::istringstream text(told);
    text >> result.bytesShownPerSecond >> result.processorShare >> result.paintsPerSecond >>
        result.worstStall >> result.megabytes;
    if (status != 0 || !text)
        giveUp("The QPlainTextEdit did not tell what it had done.");
    return result;
}

}  // namespace ferrolt::bench

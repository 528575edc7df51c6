// A 400 MB image over loopback TLS, beside curl from the same server into the same folder. Medians of five
// runs, in turn, and the memory that the download takes above an idle program.

#include "Figures.h"
#include "HttpSession.h"
#include "Pipe.h"
#include "TestHttpsServer.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <thread>

#include <spawn.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace ferrolt;

namespace {

constexpr std::int64_t size = 400'000'000;

/// A line of /proc/self/status, in KiB.
long statusOf(const char *name) {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith(name))
            return line.simplified().split(' ').value(1).toLong();
    return -1;
}

void forgetPeak() {
    QFile references(QStringLiteral("/proc/self/clear_refs"));
    if (references.open(QIODevice::WriteOnly))
        references.write("5");
}

/// The server has a process of its own, so that its memory is not counted as ours. Prints its port and
/// authority.
[[noreturn]] void serve(FileDescriptor output) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    TestAuthority authority;
    TestHttpsServer server(authority.issue());
    server.on(QStringLiteral("/image"), TestHttpsServer::repliesPattern(size));
    const QByteArray facts = QByteArray::number(server.port()) + '\n' + authority.certificate();
    if (write(output.get(), facts.constData(), static_cast<std::size_t>(facts.size())) != facts.size())
        _exit(1);
    output.close();
    for (;;)
        pause();
}

QByteArray readAll(const FileDescriptor &input) {
    QByteArray bytes;
    std::array<char, 4096> buffer;
    for (;;) {
        const ssize_t count = read(input.get(), buffer.data(), buffer.size());
        if (count > 0)
            bytes.append(buffer.data(), count);
        else if (count == 0)
            return bytes;
        else
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

/// Curl's own largest memory in KiB; negative when it failed.
long runCurl(const QString &authority, const QString &file, const QUrl &url) {
    QByteArrayList words{"curl",     "--silent",    "--show-error", "--cacert", authority.toUtf8(),
                         "--output", file.toUtf8(), url.toEncoded()};
    std::vector<char *> arguments;
    for (QByteArray &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    pid_t child = 0;
    if (posix_spawnp(&child, "curl", nullptr, nullptr, arguments.data(), environ) != 0)
        return -1;
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    return status == 0 ? usage.ru_maxrss : -1;
}

}  // namespace

int main(int argc, char **argv) {
    const int runs = argc > 1 ? 1 : 5;
    Pipe facts = Pipe::open();
    const pid_t server = fork();
    if (server == 0)
        serve(std::move(facts.writingEnd));
    facts.writingEnd.close();
    const QByteArray told = readAll(facts.readingEnd);
    const QByteArray certificate = told.mid(told.indexOf('\n') + 1);
    const QUrl url(QStringLiteral("https://127.0.0.1:%1/image").arg(told.left(told.indexOf('\n')).toInt()));

    QCoreApplication application(argc, argv);
    QTemporaryDir folder;
    const QString authority = folder.filePath(QStringLiteral("authority.pem"));
    QFile authorityFile(authority);
    if (!authorityFile.open(QIODevice::WriteOnly) || authorityFile.write(certificate) != certificate.size())
        return 2;
    authorityFile.close();
    const QString image = folder.filePath(QStringLiteral("image"));

    const long idle = statusOf("VmRSS:");
    bench::Samples curlMemory;
    bench::Samples ours;
    bench::Samples theirs;
    bench::Samples memory;
    const auto runOurs = [&] {
        bool good = false;
        forgetPeak();
        ours.push_back(bench::seconds([&] {
            HttpConfiguration configuration;
            configuration.extraAuthorities = certificate;
            HttpReply reply;
            std::thread([&] {
                reply = HttpSession(configuration).downloadFile(url, image.toStdString());
            }).join();
            good = reply.isComplete() && QFile(image).size() == size;
        }));
        memory.push_back(static_cast<double>(statusOf("VmHWM:") - idle) / 1024);
        QFile::remove(image);
        return good;
    };
    const auto runTheirs = [&] {
        long peak = 0;
        theirs.push_back(bench::seconds([&] { peak = runCurl(authority, image, url); }));
        curlMemory.push_back(static_cast<double>(peak) / 1024);
        const bool good = peak > 0 && QFile(image).size() == size;
        QFile::remove(image);
        return good;
    };
    for (int run = 0; run < runs; ++run) {
        // In turn, so that neither is always the one that fills memory which the other has left behind.
        const bool good = run % 2 == 0 ? runOurs() && runTheirs() : runTheirs() && runOurs();
        if (!good)
            return 1;
    }
    kill(server, SIGKILL);
    waitpid(server, nullptr, 0);
    bench::report({"download of a 400 MB image over TLS", "s", ours, "curl", theirs, bench::Judged::Ratio,
                   bench::Goal::AtMost, 1.4});
    bench::report({"its memory above idle", "MB", memory, "curl, in all", curlMemory, bench::Judged::Ours,
                   bench::Goal::AtMost, 16});
    return 0;
}

// A 400 MB image over loopback TLS, beside curl from the same server into the same folder. Medians of five
// runs, in turn, and the memory that the download takes above an idle program.

#include "HttpSession.h"
#include "Pipe.h"
#include "TestHttpsServer.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <thread>

#include <signal.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace ferrolt;

namespace {

constexpr std::int64_t size = 400'000'000;

double median(std::array<double, 5> values) {
    std::ranges::sort(values);
    return values[2];
}

template <class Work>
double seconds(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

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
    long curlMemory = 0;
    std::array<double, 5> ours{};
    std::array<double, 5> theirs{};
    forgetPeak();
    for (std::size_t run = 0; run < ours.size(); ++run) {
        bool good = false;
        ours[run] = seconds([&] {
            HttpConfiguration configuration;
            configuration.storage = HttpConfiguration::Storage::Ephemeral;
            configuration.extraAuthorities = certificate;
            HttpSession session(configuration);
            const HttpReply reply = session.downloadFile(url, image.toStdString());
            good = reply.isWhole() && QFile(image).size() == size;
        });
        QFile::remove(image);
        theirs[run] = seconds([&] { curlMemory = runCurl(authority, image, url); });
        good = good && curlMemory > 0 && QFile(image).size() == size;
        QFile::remove(image);
        if (!good)
            return 1;
        std::printf("run %zu: ours %.3f s, curl %.3f s\n", run + 1, ours[run], theirs[run]);
    }
    const long peak = statusOf("VmHWM:");
    kill(server, SIGKILL);
    waitpid(server, nullptr, 0);
    std::printf("median: ours %.3f s, curl %.3f s, ratio %.2f (at most 1.4)\n", median(ours), median(theirs),
                median(ours) / median(theirs));
    std::printf("memory: idle %.1f MB, peak %.1f MB, %.1f MB above idle (at most 16); curl %.1f MB in all\n",
                double(idle) / 1024, double(peak) / 1024, double(peak - idle) / 1024,
                double(curlMemory) / 1024);
    return 0;
}

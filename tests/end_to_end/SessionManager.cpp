#include "SessionManager.h"

#include "Waiting.h"

namespace ferrolt {

SessionManager::SessionManager() {
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(FERROLT_SESSION_MANAGER, {});
    if (waitUntil([&] { return !said().isEmpty() || process.state() == QProcess::NotRunning; }) &&
        !lines.isEmpty())
        where = lines.takeFirst();
}

SessionManager::~SessionManager() {
    process.closeWriteChannel();  // which ends it
    if (!process.waitForFinished(5000)) {
        process.kill();
        process.waitForFinished();
    }
}

void SessionManager::tell(const QString &word) {
    process.write(word.toUtf8() + '\n');
}

bool SessionManager::says(const QString &line) {
    return waitUntil([&] {
        const qsizetype found = said().indexOf(line, heard);
        if (found >= 0)
            heard = found + 1;
        return found >= 0;
    });
}

const QStringList &SessionManager::said() {
    while (process.canReadLine())
        lines << QString::fromUtf8(process.readLine()).trimmed();
    return lines;
}

}  // namespace ferrolt

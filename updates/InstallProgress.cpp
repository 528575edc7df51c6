#include "InstallProgress.h"

#include "MainQueue.h"

namespace ferrolt {

namespace {

QString megabytes(std::int64_t bytes) {
    return QString::number(bytes / 1'000'000);
}

}  // namespace

QString InstallProgress::text() const {
    const QString name = QStringLiteral("LibreOffice ") + current.version + QStringLiteral(": ");
    switch (current.phase) {
        case Phase::Idle:
            return {};
        case Phase::Downloading:
            if (current.total < 0)
                return name + megabytes(current.done) + QStringLiteral(" MB");
            return name + megabytes(current.done) + QStringLiteral(" of ") + megabytes(current.total) +
                   QStringLiteral(" MB");
        case Phase::Verifying:
            return name + QStringLiteral("verifying");
        case Phase::Installing:
            return name + QStringLiteral("installing");
    }
    return {};
}

void InstallProgress::set(const Status &status) {
    assertMainThread();
    if (status == current)
        return;
    current = status;
    Q_EMIT changed();
}

}  // namespace ferrolt

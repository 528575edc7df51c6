#include "LogSaver.h"

#include "FilePath.h"
#include "FileReplacement.h"
#include "LogBuffer.h"
#include "MainQueue.h"
#include "ReverseDomain.h"
#include "Symbols.h"
#include "Theme.h"

#include <QByteArrayList>
#include <QDir>
#include <QMessageBox>
#include <QStandardPaths>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <string>
#include <utility>

namespace ferrolt {
namespace {

constexpr int warningSide = 40;
constexpr std::chrono::seconds maxWaitAtEnd{10};

QString documentsFolder() {
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    return QDir(documents).exists() ? documents : QDir::homePath();
}

QString wordsFor(const std::error_code &reason) {
    if (reason == std::errc::no_space_on_device || reason.value() == EDQUOT)
        return LogSaver::tr("there is no space left on the disk");
    if (reason == std::errc::permission_denied || reason == std::errc::operation_not_permitted)
        return LogSaver::tr("you have no permission to write to that folder");
    if (reason == std::errc::read_only_file_system)
        return LogSaver::tr("that disk can only be read");
    if (reason == std::errc::is_a_directory)
        return LogSaver::tr("a folder has that name");
    if (reason == std::errc::not_supported)
        return LogSaver::tr("what has that name is no ordinary file");
    if (reason == std::errc::no_such_file_or_directory || reason == std::errc::not_a_directory)
        return LogSaver::tr("that folder does not exist");
    return QString::fromLocal8Bit(reason.message().c_str());
}

}  // namespace

LogSaver::LogSaver(QWidget *window)
    : QObject(window),
      window(window),
      queue(std::string(reverseDomain) + ".save-log", QualityOfService::Utility) {
    assertMainThread();
}

/// The program ends without its background threads, and the user has seen the dialog accept the name.
LogSaver::~LogSaver() {
    queue.waitUntilDone(maxWaitAtEnd);
}

void LogSaver::save(const QString &title, const LogBuffer &log) {
    if (dialog != nullptr)
        return;
    dialog = new QFileDialog(window, tr("Save Log As"), documentsFolder());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setNameFilters({tr("Logs (*.log)"), tr("All Files (*)")});
    dialog->setDefaultSuffix(QStringLiteral("log"));
    dialog->selectFile(title + QStringLiteral(".log"));
    connect(dialog, &QFileDialog::fileSelected, this, [this, &log](const QString &file) {
        // A second press of a key reaches the dialog before it has deleted itself.
        dialog->disconnect(this);
        write(file, log.snapshot());
    });
    dialog->open();
}

void LogSaver::write(const QString &file, std::vector<QByteArray> pieces) {
    const auto work = [self = QPointer(this), file, pieces = std::move(pieces)] {
        std::error_code reason;
        const std::filesystem::path path = pathOf(file);
        const QByteArray text = QByteArrayList(pieces.begin(), pieces.end()).join();
        const bool isSaved =
            replaceFile(path, {text.constData(), static_cast<std::size_t>(text.size())}, reason);
        MainQueue::async([self, file, isSaved, reason] {
            if (self && isSaved)
                Q_EMIT self->saved(file);
            else if (self)
                self->showFailure(file, reason);
        });
    };
    if (!queue.async(work))
        showFailure(file, std::make_error_code(std::errc::resource_unavailable_try_again));
}

void LogSaver::showFailure(const QString &file, const std::error_code &reason) {
    auto *const box = new QMessageBox(window);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowTitle(tr("Save Log As"));
    box->setIconPixmap(symbolPixmap(Symbol::WarningTriangle, QSize(warningSide, warningSide),
                                    Theme::orange(box->palette()), box->devicePixelRatioF()));
    box->setTextFormat(Qt::PlainText);  // a name may look like markup
    box->setText(tr("The log could not be saved as “%1”: %2.").arg(file, wordsFor(reason)));
    box->addButton(QMessageBox::Ok);
    box->open();
}

}  // namespace ferrolt

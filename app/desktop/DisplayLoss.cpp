#include "DisplayLoss.h"

#include "EndProcess.h"

#include <QString>

namespace ferrolt {

namespace {

QtMessageHandler logMessage = nullptr;

/// A program learns of the loss from Qt's warning alone, which QXcbConnection and QWaylandDisplay log just
/// before they call exit(): in Qt 6.4 in these words, which are not translated.
bool isOfALostDisplay(const QString &message) {
    return message.startsWith(QLatin1String("The X11 connection broke")) ||
           message.startsWith(QLatin1String("The Wayland connection broke"));
}

}  // namespace

void endWithTheDisplay() {
    logMessage =
        qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &context, const QString &message) {
            logMessage(type, context, message);
            if (isOfALostDisplay(message))
                endProcess(1);
        });
}

}  // namespace ferrolt

#include "Seams.h"

#include <QCoreApplication>
#include <QDir>

#include <utility>

namespace ferrolt {

Seams::Seams(std::shared_ptr<AlertPresenter> alerts)
    : alerts(std::move(alerts)),
      temporaryFolder(QDir::tempPath().toStdString()),
      terminateApplication([] { QCoreApplication::quit(); }) {
    Q_ASSERT(this->alerts);
}

}  // namespace ferrolt

#include "Seams.h"

#include <QCoreApplication>

#include <utility>

namespace ferrolt {

Seams::Seams(std::shared_ptr<AlertPresenter> alerts)
    : alerts(std::move(alerts)), terminateApplication([] { QCoreApplication::quit(); }) {}

}  // namespace ferrolt

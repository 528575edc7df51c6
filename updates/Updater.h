#pragma once

#include <QObject>
#include <QString>

#include <cstdint>
#include <functional>
#include <optional>

namespace ferrolt {

class Updater : public QObject {
    Q_OBJECT

  public:
    using QObject::QObject;

    void runInitialCheck() {
        Q_EMIT objectWillChange();
        complete = true;
    }
    bool isUpdateCheckComplete() const { return complete; }

  Q_SIGNALS:
    void objectWillChange();

  private:
    bool complete = false;
};

}  // namespace ferrolt

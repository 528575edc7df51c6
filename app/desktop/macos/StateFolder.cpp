#include "StateFolder.h"

#include <QStandardPaths>

namespace ferrolt {

QString stateFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
}

}  // namespace ferrolt

#include "StateFolder.h"

#include <QDir>

namespace ferrolt {

// XDG Base Directory 0.8: $XDG_STATE_HOME, which must be absolute, else ~/.local/state.
QString stateFolder() {
    QString base = qEnvironmentVariable("XDG_STATE_HOME");
    if (!QDir::isAbsolutePath(base))
        base = QDir::homePath() + QStringLiteral("/.local/state");
    return base + QStringLiteral("/ferrolt-miner-launcher");
}

}  // namespace ferrolt

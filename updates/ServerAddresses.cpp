#include "ServerAddresses.h"

namespace ferrolt {

ServerAddresses::ServerAddresses()
    : updateServer(QStringLiteral(FERROLT_UPDATE_SERVER)),
      libreOfficeServer(QStringLiteral(FERROLT_LIBREOFFICE_SERVER)) {}

}  // namespace ferrolt

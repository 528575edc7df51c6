#include "LoadProps.h"

namespace ferrolt {

QString LoadProps::MinerEmailAddress() { return {}; }
QString LoadProps::MinerEntityName() { return {}; }
QString LoadProps::MinerDisplayName() { return {}; }

}  // namespace ferrolt

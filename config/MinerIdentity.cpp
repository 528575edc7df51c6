#include "MinerIdentity.h"

#include "LoadProps.h"

namespace ferrolt {

bool isIdentityComplete() {
    return !LoadProps::MinerEmailAddress().isEmpty() && !LoadProps::MinerEntityName().isEmpty();
}

}  // namespace ferrolt

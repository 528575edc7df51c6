#pragma once

#include <sys/types.h>
#include <unistd.h>

namespace ferrolt {

constexpr uid_t nobody = static_cast<uid_t>(-2);

// Tests are run by an ordinary user here, whom permissions and limits bind. Root's rights are one piece.
inline bool obeyPermissions() {
    return ::geteuid() != 0;
}
inline bool obeyLimits() {
    return ::geteuid() != 0;
}
inline bool becomeNobody() {
    return ::setgid(nobody) == 0 && ::setuid(nobody) == 0;
}

}  // namespace ferrolt

#pragma once

#include <initializer_list>

#include <grp.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

namespace ferrolt {

constexpr uid_t nobody = 65534;

/// The capabilities by which root may open any file. The C library has no call for them:
/// <linux/capability.h>.
constexpr std::initializer_list<int> fileCapabilities = {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH};

/// In a child: file permissions bind it from here on, as they bind an ordinary user, and the programs that it
/// starts. Root stays root and owner of its files, so that everything below a folder of root's alone is still
/// reached.
inline bool obeyPermissions() {
    if (::geteuid() != 0)
        return true;
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct sets[2]{};
    if (::syscall(SYS_capget, &header, sets) != 0)
        return false;
    for (const int capability : fileCapabilities) {
        // Otherwise a program that root executes gets it back.
        if (::prctl(PR_CAPBSET_DROP, capability, 0, 0, 0) != 0)
            return false;
        const __u32 others = ~(__u32{1} << capability);
        sets[0].effective &= others;
        sets[0].permitted &= others;
        sets[0].inheritable &= others;
    }
    return ::syscall(SYS_capset, &header, sets) == 0;
}

/// In a child of root's: becomes another user, whom limits bind: the kernel exempts root from RLIMIT_NPROC.
/// Files are still reached, also by the programs that it starts: the folders above them may be root's alone.
inline bool becomeNobody() {
    if (::prctl(PR_SET_KEEPCAPS, 1, 0, 0, 0) != 0 || ::setgroups(0, nullptr) != 0 || ::setgid(nobody) != 0 ||
        ::setuid(nobody) != 0)
        return false;
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct sets[2]{};
    for (const int capability : fileCapabilities) {
        const __u32 bit = __u32{1} << capability;
        sets[0].effective |= bit;
        sets[0].permitted |= bit;
        sets[0].inheritable |= bit;
    }
    if (::syscall(SYS_capset, &header, sets) != 0)
        return false;
    for (const int capability : fileCapabilities) {
        if (::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_RAISE, capability, 0, 0) != 0)
            return false;
    }
    return true;
}

/// In a child: limits bind it from here on. An ordinary user stays who he is.
inline bool obeyLimits() {
    return ::geteuid() != 0 || becomeNobody();
}

}  // namespace ferrolt

#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <optional>
#include <vector>

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

// The kernels of newer processors, arm64 among them, lack these calls, and the C library makes the newer ones
// for the same functions. A test refuses both; no call has this number.
#ifndef SYS_dup2
#define SYS_dup2 (-1)
#endif
#ifndef SYS_readlink
#define SYS_readlink (-1)
#endif
#ifndef SYS_rename
#define SYS_rename (-1)
#endif
#ifndef SYS_renameat
#define SYS_renameat (-1)
#endif

namespace ferrolt {

/// The value of one of a system call's arguments.
struct CallArgument {
    unsigned index = 0;
    unsigned value = 0;
};

/// In a child: from here on the kernel refuses this system call with this error, if the argument is given
/// only with that value. It cannot be taken back, and holds for the programs that the child executes and the
/// threads that it starts.
inline bool refuseCall(long call, int error, std::optional<CallArgument> only = std::nullopt) {
    std::vector<sock_filter> program{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<__u32>(call), 0, static_cast<__u8>(only ? 3 : 1)),
    };
    if (only) {
        // The lower half: all processors that are supported are little-endian.
        const auto offset = static_cast<__u32>(offsetof(seccomp_data, args) + only->index * sizeof(__u64));
        program.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offset));
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, only->value, 0, 1));
    }
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<__u32>(error)));
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

/// The same for all calls by which one function of the C library may reach the kernel.
inline bool refuseCalls(std::initializer_list<long> calls, int error,
                        std::optional<CallArgument> only = std::nullopt) {
    return std::all_of(calls.begin(), calls.end(), [&](long call) { return refuseCall(call, error, only); });
}

}  // namespace ferrolt

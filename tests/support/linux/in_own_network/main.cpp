// in-own-network PROGRAM [ARGUMENT...]: runs the program with a loopback interface of its own, so that every
// port is free and no other program's is in its way. A program apart, because the thread sanitizer's second
// thread keeps a test from making a user namespace. Where the system allows no namespaces the program runs
// all the same.

#include <cstdio>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

bool write(const char *file, const std::string &text) {
    const int descriptor = ::open(file, O_WRONLY | O_CLOEXEC);
    const bool isWritten =
        descriptor >= 0 && ::write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    ::close(descriptor);
    return isWritten;
}

/// An ordinary user may do so in a user namespace, in which he stays who he is.
bool leaveTheNetwork() {
    const std::string user = std::to_string(::geteuid());
    const std::string group = std::to_string(::getegid());
    return ::unshare(CLONE_NEWNET) == 0 ||
           (::unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0 && write("/proc/self/setgroups", "deny") &&
            write("/proc/self/uid_map", user + " " + user + " 1") &&
            write("/proc/self/gid_map", group + " " + group + " 1"));
}

bool bringLoopbackUp() {
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq loopback{};
    std::strcpy(loopback.ifr_name, "lo");
    loopback.ifr_flags = IFF_UP | IFF_RUNNING;
    const bool isUp = ::ioctl(socket, SIOCSIFFLAGS, &loopback) == 0;
    ::close(socket);
    return isUp;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 2)
        return 2;
    if (leaveTheNetwork() && !bringLoopbackUp()) {
        std::perror("in-own-network: no loopback interface");
        return 1;
    }
    ::execvp(argv[1], argv + 1);
    std::perror(argv[1]);
    return 127;
}

#include <array>
#include <cstring>
#include <string>

#include <unistd.h>

/// In pkexec's place, installed set-user-id root: runs a program as root without asking anybody. As pkexec
/// does, it takes a switch in front, names the user in PKEXEC_UID, and lets the program have nothing else of
/// the user's environment. Unlike pkexec it keeps the user's group and working folder, for the program to
/// cope with.
int main(int argc, char **argv) {
    if (argc < 3 || std::strcmp(argv[1], "--disable-internal-agent") != 0)
        return 127;
    std::string path = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";
    std::string user = "PKEXEC_UID=" + std::to_string(getuid());
    std::array<char *, 3> environment{path.data(), user.data(), nullptr};
    if (setuid(0) != 0)
        return 127;
    execve(argv[2], argv + 2, environment.data());
    return 127;
}

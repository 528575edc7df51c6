#include "PrivateSystem.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ferrolt {

namespace fs = std::filesystem;

namespace {

void require(bool succeeded, const std::string &what) {
    if (!succeeded)
        throw std::runtime_error(what + ": " + std::strerror(errno));
}

void write(const fs::path &file, const std::string &text) {
    std::ofstream out(file);
    out << text;
    out.close();
    require(out.good(), "writing " + file.string());
}

void bindTo(const fs::path &source, const fs::path &target) {
    require(mount(source.c_str(), target.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0,
            "binding " + source.string() + " to " + target.string());
}

void leaveTheMachinesNamespaces() {
    const uid_t user = geteuid();
    const gid_t group = getegid();
    if (unshare(CLONE_NEWNS | CLONE_NEWNET) == 0)
        return;
    require(unshare(CLONE_NEWUSER | CLONE_NEWNS | CLONE_NEWNET) == 0, "making namespaces");
    write("/proc/self/setgroups", "deny");
    write("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
    write("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
}

void bringLoopbackUp() {
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq loopback{};
    std::strcpy(loopback.ifr_name, "lo");
    const bool isKnown = ioctl(socket, SIOCGIFFLAGS, &loopback) == 0;
    loopback.ifr_flags = static_cast<short>(loopback.ifr_flags | IFF_UP);
    const bool isUp = isKnown && ioctl(socket, SIOCSIFFLAGS, &loopback) == 0;
    close(socket);
    require(isUp, "bringing loopback up");
}

/// Gives the folder `to` the entries of the machine's folder `from`. Unlike `from` it can be added to.
void copyEntries(const fs::path &from, const fs::path &to, const std::string &without) {
    for (const fs::directory_entry &entry : fs::directory_iterator(from)) {
        const fs::path target = to / entry.path().filename();
        if (entry.path().filename() == without)
            continue;
        if (entry.is_symlink()) {
            fs::copy_symlink(entry.path(), target);
        } else if (entry.is_directory()) {
            fs::create_directory(target);
            bindTo(entry.path(), target);
        }
    }
}

/// A /usr/bin of links to the machine's programs, except pkexec, which is `prompt`.
void makePrograms(const fs::path &root, const fs::path &prompt) {
    fs::create_directory(root / "usr");
    copyEntries("/usr", root / "usr", "bin");
    fs::create_directory(root / "machine-programs");
    bindTo("/usr/bin", root / "machine-programs");
    fs::create_directory(root / "usr/bin");
    for (const fs::directory_entry &program : fs::directory_iterator("/usr/bin")) {
        const fs::path name = program.path().filename();
        if (name != "pkexec")
            fs::create_symlink("/machine-programs" / name, root / "usr/bin" / name);
    }
    fs::copy_file(prompt, root / "usr/bin/pkexec");
}

/// Covers the machine's file, or the target of its link, with an empty one that the test can write to. Does
/// nothing where the machine has no such file.
void replaceFile(const fs::path &file, const fs::path &root, const fs::path &scratch) {
    std::error_code failure;
    const fs::path target = fs::canonical(file, failure);
    if (failure)
        return;
    write(scratch / file.filename(), "");
    bindTo(scratch / file.filename(), root / target.relative_path());
}

void shell(const std::string &command) {
    require(std::system(command.c_str()) == 0, command);
}

/// Moves the calling process, and what it starts from then on, into the system, which is built in `scratch`.
/// An empty text, or what could not be done.
std::string enter(const fs::path &scratch, const std::string &prompt) {
    try {
        write(scratch / "prompt", "#!/bin/sh\n" + prompt);
        fs::permissions(scratch / "prompt", fs::perms(0755));
        leaveTheMachinesNamespaces();
        require(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0,
                "keeping mounts to ourselves");
        bringLoopbackUp();

        const fs::path root = scratch / "root";
        fs::create_directories(root);
        require(mount("root", root.c_str(), "tmpfs", 0, nullptr) == 0, "mounting a root folder");
        copyEntries("/", root, "usr");
        makePrograms(root, scratch / "prompt");
        // A script that runs as root here creates its lock in /run. The root of a user namespace may not
        // write to the machine's.
        require(mount("run", (root / "run").c_str(), "tmpfs", 0, nullptr) == 0, "mounting /run");

        // Folders and files that setHosts() and setCertificates() write to.
        for (const char *file : {"/etc/hosts", "/etc/nsswitch.conf", "/etc/resolv.conf"})
            replaceFile(file, root, scratch);
        fs::create_directory(scratch / "certs");
        bindTo(scratch / "certs", root / "etc/ssl/certs");

        require(chroot(root.c_str()) == 0 && chdir("/") == 0, "entering the root folder");
        write("/etc/nsswitch.conf", "hosts: files dns\n");
        write("/etc/resolv.conf", "nameserver 127.0.0.1\n");
        return {};
    } catch (const std::exception &failure) {
        return failure.what();
    }
}

}  // namespace

int PrivateSystem::run(const std::string &prompt,
                       const std::function<int(const std::string &trouble)> &work) {
    std::string scratch = fs::temp_directory_path() / "ferrolt-private-system-XXXXXX";
    if (mkdtemp(scratch.data()) == nullptr)
        return 1;
    // A process never leaves the system that it has entered, and from inside cannot remove the folder that
    // the system is built in. So a child enters it.
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        std::exit(work(enter(scratch, prompt)));
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    fs::remove_all(scratch);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

void PrivateSystem::setHosts(const std::vector<std::string> &names) {
    std::string hosts = "127.0.0.1 localhost\n";
    for (const std::string &name : names)
        hosts += "127.0.0.1 " + name + "\n";
    write("/etc/hosts", hosts);
}

void PrivateSystem::setCertificates(Certificates layout, const std::string &authority) {
    const fs::path store = "/etc/ssl/certs";
    for (const fs::directory_entry &entry : fs::directory_iterator(store))
        fs::remove_all(entry.path());
    const fs::path own = "/test-authorities";
    fs::create_directories(own / "hooks");
    write(own / "test.crt", authority);
    write(own / "selected", "");  // none of the machine's certificates
    shell("TMPDIR=/tmp /usr/sbin/update-ca-certificates --fresh --certsconf " + (own / "selected").string() +
          " --localcertsdir " + own.string() + " --etccertsdir " + store.string() + " --hooksdir " +
          (own / "hooks").string() + " >/dev/null 2>&1");
    for (const fs::directory_entry &entry : fs::directory_iterator(store)) {
        const bool isBundle = entry.path().filename() == "ca-certificates.crt";
        if (layout == Certificates::None ||
            layout == (isBundle ? Certificates::LinksOnly : Certificates::BundleOnly))
            fs::remove(entry.path());
    }
}

}  // namespace ferrolt

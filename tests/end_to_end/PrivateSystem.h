#pragma once

#include <functional>
#include <string>
#include <vector>

namespace ferrolt {

/// A system of its own for a test process, in which the shipped program runs with the servers, paths and
/// prompt that it was built with. Its network is loopback only, so port 443 is free and nobody outside is
/// reached; name lookups, trusted certificates and /usr/bin/pkexec are the test's; /Applications can be made
/// in its root folder. Everything else is the machine's. No certificate is trusted before setCertificates().
///
/// Made of Linux namespaces: needs root or the right to make user namespaces.
class PrivateSystem {
  public:
    /// How /etc/ssl/certs is laid out.
    enum class Certificates {
        Both,        ///< as update-ca-certificates makes it: a bundle, and links by hash
        BundleOnly,  ///< ca-certificates.crt alone
        LinksOnly,   ///< the links by hash, and what they lead to
        None,        ///< an empty folder
    };

    /// Runs `work` in a child process that has entered the system, and returns the exit code that `work`
    /// returned, or 1. `prompt` is the shell script that stands for /usr/bin/pkexec. `trouble` is empty, or
    /// says why there is no system. To be called while the process has one thread: before any object of Qt's
    /// is made.
    static int run(const std::string &prompt, const std::function<int(const std::string &trouble)> &work);

    // To be called inside the system:

    /// These names and localhost are 127.0.0.1. Other names are looked up by DNS at 127.0.0.1, port 53.
    static void setHosts(const std::vector<std::string> &names);

    /// Makes `authority`, in PEM, the only trusted one, by the machine's update-ca-certificates.
    static void setCertificates(Certificates layout, const std::string &authority);
};

}  // namespace ferrolt

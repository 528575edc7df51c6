#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace ferrolt {

/// Moves the calling process, and what it starts from then on, into a system of its own, in which the shipped
/// program can be shown with the very servers, paths and prompt that it was built with: a network with
/// nothing but loopback, so that port 443 is free and nobody outside is reached; name lookups, trusted
/// certificates and /usr/bin/pkexec that are the test's; a root folder in which /Applications can be made.
/// Everything else is the machine's. Nobody is trusted until setCertificates() is called.
///
/// Linux namespaces; root or the right to make user namespaces is needed, and no thread but the calling one.
class PrivateSystem {
  public:
    struct Contents {
        std::filesystem::path prompt;   ///< the script that stands for /usr/bin/pkexec
        std::filesystem::path scratch;  ///< a folder for what it is built from; goes with its owner
    };

    /// How /etc/ssl/certs is laid out.
    enum class Certificates {
        Both,        ///< as update-ca-certificates makes it: a bundle, and links by hash
        BundleOnly,  ///< ca-certificates.crt alone
        LinksOnly,   ///< the links by hash, and what they lead to
        None,        ///< an empty folder
    };

    /// An empty text, or what could not be done.
    static std::string enter(const Contents &contents);

    // In the private system:

    /// Has exactly these names lead to 127.0.0.1, with localhost. Others are asked of 127.0.0.1, port 53.
    static void setHosts(const std::vector<std::string> &names);

    /// Has the machine's own programs install the authority, PEM, as the only one that is trusted.
    static void setCertificates(Certificates layout, const std::string &authority);
};

}  // namespace ferrolt

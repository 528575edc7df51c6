#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace ferrolt {

/// Moves the calling process, and what it starts from then on, into a system of its own, in which the shipped
/// program can be shown with the very servers, paths and prompt that it was built with: a network with
/// nothing but loopback, so that port 443 is free and nobody outside is reached; name lookups, trusted
/// certificates and /usr/bin/pkexec that are the test's; a root folder in which /Applications can be made.
/// Everything else is the machine's.
///
/// Linux namespaces; root or the right to make user namespaces is needed, and no thread but the calling one.
class PrivateSystem {
  public:
    struct Contents {
        std::vector<std::string> hosts;          ///< names that lead to 127.0.0.1
        std::filesystem::path trustedAuthority;  ///< a PEM file; nobody else is trusted
        std::filesystem::path prompt;            ///< the script that stands for /usr/bin/pkexec
        std::filesystem::path scratch;           ///< a folder for what it is built from; goes with its owner
    };

    /// An empty text, or what could not be done.
    static std::string enter(const Contents &contents);
};

}  // namespace ferrolt

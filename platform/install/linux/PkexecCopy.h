#pragma once

#include "PrivilegedCopy.h"

#include <filesystem>
#include <string>

namespace ferrolt {

/// Copies as root, behind polkit's password prompt. What runs as root is the script `install-libreoffice` and
/// nothing else: an installation of the launcher brings it as a file, which polkit knows by name and asks a
/// question of its own for; without such a file the same text, which is compiled in, is handed to /bin/sh.
class PkexecCopy : public PrivilegedCopy {
  public:
    struct Places {
        std::filesystem::path prompt = "/usr/bin/pkexec";  ///< called as pkexec is
        std::filesystem::path helper =
            installedHelper();  ///< used only if nobody but root could have changed it
        std::filesystem::path application =
            "/Applications/LibreOffice.app";  ///< the one place that the script writes to
    };

    PkexecCopy() : PkexecCopy(Places()) {}
    explicit PkexecCopy(Places places) : places(std::move(places)) {}

    /// Waits on the calling thread, which should not be the main one: the prompt is another program's window,
    /// and this program's own need not freeze behind it. False for any other destination than the script's.
    bool privilegedCopy(const std::filesystem::path &source,
                        const std::filesystem::path &destination) override;
    std::string missingProgram() const override;

    /// Where an installation of this very executable has its helper.
    static std::filesystem::path installedHelper();
    /// Whether this is a program that only root could have changed: neither the file nor a folder above it
    /// belongs to or can be written by anyone else.
    static bool isRootsAlone(const std::filesystem::path &program);
    /// The text of install-libreoffice.
    static std::string script();

  private:
    Places places;
};

}  // namespace ferrolt

#pragma once

#include "PrivilegedCopy.h"

#include <filesystem>
#include <string>

namespace ferrolt {

/// Copies as root after polkit's password prompt. The only thing that runs as root is the helper, the script
/// `install-libreoffice`. An installed launcher has it as a file, for which a polkit action gives the
/// prompt's text; without that file the same text, compiled in, is handed to /bin/sh.
class PkexecCopy : public PrivilegedCopy {
  public:
    struct Places {
        std::filesystem::path prompt = "/usr/bin/pkexec";
        /// Used only if nobody but root could have changed it.
        std::filesystem::path helper = installedHelper();
        /// The one place that the helper writes to.
        std::filesystem::path application = "/Applications/LibreOffice.app";
    };

    PkexecCopy() : PkexecCopy(Places()) {}
    explicit PkexecCopy(Places places) : places(std::move(places)) {}

    /// Never the main thread: the prompt is another program's window, and the launcher's own must not freeze
    /// behind it. False for any destination but Places::application.
    bool privilegedCopy(const std::filesystem::path &source,
                        const std::filesystem::path &destination) override;
    std::string missingProgram() const override;

    /// The helper's path in the installation that this executable belongs to.
    static std::filesystem::path installedHelper();
    /// Whether only root could have changed this program: neither the file nor a folder above it belongs to
    /// another user or is writable for one.
    static bool isWritableByRootOnly(const std::filesystem::path &program);
    /// The text of install-libreoffice.
    static std::string helperScript();

  private:
    Places places;
};

}  // namespace ferrolt

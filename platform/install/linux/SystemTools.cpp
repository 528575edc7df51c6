#include "DiskImage.h"
#include "PkexecCopy.h"
#include "PrivilegedCopy.h"
#include "RunProcess.h"
#include "ToolRunner.h"

namespace ferrolt {

namespace {

/// Emulates exactly the two hdiutil command lines of an installation; any other fails.
class LinuxToolRunner : public ToolRunner {
  public:
    bool runTool(const std::filesystem::path &executable, const std::vector<std::string> &arguments,
                 const Progress &progress) override {
        if (executable != "/usr/bin/hdiutil")
            return runProcess(executable, arguments);
        if (arguments.size() == 7 && arguments[0] == "attach" && arguments[2] == "-mountpoint" &&
            arguments[4] == "-nobrowse" && arguments[5] == "-readonly" && arguments[6] == "-quiet")
            return DiskImage({DiskImage::systemArchiver()}).attach(arguments[1], arguments[3], progress);
        if (arguments.size() == 3 && arguments[0] == "detach" && arguments[2] == "-force")
            return DiskImage::detach(arguments[1]);
        return false;
    }

    std::string missingProgram() const override {
        return DiskImage::systemArchiver().empty() ? "7-Zip (7zz or 7z)" : "";
    }
};

}  // namespace

std::shared_ptr<ToolRunner> systemToolRunner() {
    return std::make_shared<LinuxToolRunner>();
}

std::shared_ptr<PrivilegedCopy> systemPrivilegedCopy() {
    return std::make_shared<PkexecCopy>();
}

}  // namespace ferrolt

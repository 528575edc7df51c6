#include "MainQueue.h"
#include "PrivilegedCommand.h"
#include "PrivilegedCopy.h"
#include "RunProcess.h"
#include "ToolRunner.h"

#import <Foundation/Foundation.h>

namespace ferrolt {

namespace {

class MacToolRunner : public ToolRunner {
  public:
    bool runTool(const std::filesystem::path &executable, const std::vector<std::string> &arguments,
                 const Progress & /* hdiutil -quiet reports none */) override {
        return runProcess(executable, arguments);
    }
};

bool runAppleScript(const std::string &source) {
    @autoreleasepool {
        NSString *text = [[NSString alloc] initWithUTF8String:source.c_str()];
        if (text == nil)
            return false;
        NSAppleScript *script = [[NSAppleScript alloc] initWithSource:text];
        NSDictionary *error = nil;
        return [script executeAndReturnError:&error] != nil && error == nil;
    }
}

class AppleScriptCopy : public PrivilegedCopy {
  public:
    bool privilegedCopy(const std::filesystem::path &source,
                        const std::filesystem::path &destination) override {
        const std::string script =
            administratorScript(privilegedShellCommand(source.string(), destination.string()));
        assertNotMainThread();
        bool succeeded = false;
        // NSAppleScript runs on the main thread only; the administrator prompt is modal.
        MainQueue::sync([&] { succeeded = runAppleScript(script); });
        return succeeded;
    }
};

}  // namespace

std::shared_ptr<ToolRunner> systemToolRunner() {
    return std::make_shared<MacToolRunner>();
}

std::shared_ptr<PrivilegedCopy> systemPrivilegedCopy() {
    return std::make_shared<AppleScriptCopy>();
}

}  // namespace ferrolt

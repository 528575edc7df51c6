#include "DesktopReopen.h"

#include <utility>

#import <AppKit/AppKit.h>

namespace {

std::function<void()> &onReopen() {
    static std::function<void()> function;
    return function;
}

}  // namespace

@interface FerroltReopenDelegate : NSObject <NSApplicationDelegate>
@end

@implementation FerroltReopenDelegate
- (BOOL)applicationShouldHandleReopen:(NSApplication *)application hasVisibleWindows:(BOOL)flag {
    (void) application;
    (void) flag;
    if (onReopen())
        onReopen()();
    return NO;  // all that there is to do is done
}
@end

namespace ferrolt {

namespace {

FerroltReopenDelegate *delegate = nil;

}  // namespace

// Qt keeps a delegate that is there before it and passes on what it does not handle itself.
DesktopReopen::DesktopReopen() {
    delegate = [[FerroltReopenDelegate alloc] init];
    [[NSApplication sharedApplication] setDelegate:delegate];
}

DesktopReopen::~DesktopReopen() {
    onReopen() = nullptr;
}

void DesktopReopen::listen(std::function<void()> reopen) {
    onReopen() = std::move(reopen);
}

}  // namespace ferrolt

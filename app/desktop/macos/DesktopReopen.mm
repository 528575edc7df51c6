#include "DesktopReopen.h"

#import <AppKit/AppKit.h>

namespace {

ferrolt::DesktopReopen::Reopen &onReopen() {
    static ferrolt::DesktopReopen::Reopen function;
    return function;
}

}  // namespace

@interface FerroltReopenDelegate : NSObject <NSApplicationDelegate>
@end

@implementation FerroltReopenDelegate
- (BOOL)applicationShouldHandleReopen:(NSApplication *)application hasVisibleWindows:(BOOL)flag {
    (void) application;
    return onReopen() ? onReopen()(flag) : YES;
}
@end

namespace ferrolt {

namespace {

FerroltReopenDelegate *delegate = nil;

}  // namespace

// Qt keeps a delegate that was set before the application object, and forwards to it what Qt does not handle.
DesktopReopen::DesktopReopen() {
    delegate = [[FerroltReopenDelegate alloc] init];
    [[NSApplication sharedApplication] setDelegate:delegate];
}

DesktopReopen::~DesktopReopen() {
    onReopen() = nullptr;
}

void DesktopReopen::listen(const Reopen &reopen) {
    onReopen() = reopen;
}

}  // namespace ferrolt

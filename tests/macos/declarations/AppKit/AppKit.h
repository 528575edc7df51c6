#pragma once

#import <Foundation/Foundation.h>

@class NSApplication;

@protocol NSApplicationDelegate <NSObject>
@optional
- (BOOL)applicationShouldHandleReopen:(NSApplication *)application hasVisibleWindows:(BOOL)flag;
@end

@interface NSApplication : NSObject
+ (NSApplication *)sharedApplication;
- (void)setDelegate:(id<NSApplicationDelegate>)delegate;
@end

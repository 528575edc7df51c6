#pragma once

typedef bool BOOL;
#define YES true
#define NO false
#define nil nullptr

@protocol NSObject
@end

__attribute__((objc_root_class))
@interface NSObject<NSObject>
+ (instancetype)alloc;
- (instancetype)init;
@end

@interface NSString : NSObject
- (instancetype)initWithUTF8String:(const char *)text;
- (const char *)UTF8String;
@end

@interface NSError : NSObject
- (NSString *)localizedDescription;
@end

@interface NSDictionary : NSObject
@end

@interface NSAppleEventDescriptor : NSObject
@end

@interface NSAppleScript : NSObject
- (instancetype)initWithSource:(NSString *)source;
- (NSAppleEventDescriptor *)executeAndReturnError:(NSDictionary **)error;
@end

#pragma once

#import <Foundation/Foundation.h>

typedef long SMAppServiceStatus;
enum : SMAppServiceStatus {
    SMAppServiceStatusNotRegistered,
    SMAppServiceStatusEnabled,
    SMAppServiceStatusRequiresApproval,
    SMAppServiceStatusNotFound,
};

@interface SMAppService : NSObject
+ (SMAppService *)mainAppService;
- (SMAppServiceStatus)status;
- (BOOL)registerAndReturnError:(NSError **)error;
- (BOOL)unregisterAndReturnError:(NSError **)error;
@end

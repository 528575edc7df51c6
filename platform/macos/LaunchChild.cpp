#include "LaunchChild.h"

#include "ParentDeathWatch.h"

#include <csignal>

#include <spawn.h>

namespace ferrolt {

LaunchOutcome launchChild(const ChildImage &image) {
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_t actions;
    posix_spawnattr_init(&attributes);
    posix_spawn_file_actions_init(&actions);

    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setpgroup(&attributes, 0);
    const bool endsWithLauncher = image.end == Process::End::WithLauncher;
    posix_spawnattr_setflags(
        &attributes,
        static_cast<short>(POSIX_SPAWN_CLOEXEC_DEFAULT | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                           (endsWithLauncher ? POSIX_SPAWN_SETPGROUP : POSIX_SPAWN_SETSID)));
    posix_spawn_file_actions_adddup2(&actions, image.standardInput, 0);
    posix_spawn_file_actions_adddup2(&actions, image.standardOutputAndError, 1);
    posix_spawn_file_actions_adddup2(&actions, image.standardOutputAndError, 2);
    posix_spawn_file_actions_addchdir_np(&actions, image.workingFolder);

    LaunchOutcome outcome;
    outcome.error = posix_spawn(&outcome.child, image.executable, &actions, &attributes, image.arguments,
                                image.environment);
    if (outcome.error != 0)
        outcome.child = 0;
    else if (endsWithLauncher)
        terminateWithLauncher(outcome.child);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    return outcome;
}

}  // namespace ferrolt

#pragma once

#include <set>
#include <string>
#include <vector>

#include <sys/types.h>

namespace ferrolt {

/// A process that a program has started, it or one of its descendants.
struct Descendant {
    pid_t id = 0;
    std::string command;       ///< with its arguments, blanks between
    bool isOfInstall = false;  ///< the privileged copy, or below it
};

/// All that programs started by this process have left running. This process inherits every orphan below it,
/// so that none gets away, whatever environment or session it has given itself. Only on one thread.
class Descendants {
  public:
    /// What runs below this process by now is none of theirs.
    Descendants();

    /// Those that live, without zombies. Reaps the orphans that have ended.
    std::vector<Descendant> living(pid_t program) const;

  private:
    std::set<pid_t> services;
};

}  // namespace ferrolt

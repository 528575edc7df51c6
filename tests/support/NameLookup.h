#pragma once

#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace ferrolt {

/// Stands in for the system's name look-up in a program that is linked with NameLookup.cpp, for Qt's library
/// as well: names below ".test" are the test's. The executable must export its symbols.
struct NameLookup {
    std::mutex mutex;
    std::condition_variable changed;
    std::map<std::string, std::vector<const char *>>
        addresses;        ///< numeric; a name that is not here is unknown
    std::string hanging;  ///< a name whose look-up hangs until it is another
    int hangs = 0;        ///< look-ups that have hung so far

    static NameLookup &instance() {
        static NameLookup &lookup = *new NameLookup;
        return lookup;
    }
};

}  // namespace ferrolt

#pragma once

#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <netdb.h>

namespace ferrolt {

/// Stands in for the system's name look-up in the one source that includes this, for Qt's library as well:
/// names below ".test" are the test's. The executable must export its symbols.
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

// Defined once, since one source of a program includes it.
// NOLINTNEXTLINE(misc-definitions-in-headers,readability-inconsistent-declaration-parameter-name)
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char *name, const char *service,
                                                                  const addrinfo *hints, addrinfo **found) {
    static const auto real = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    const std::string asked = name != nullptr ? name : "";
    if (!asked.ends_with(".test"))
        return real(name, service, hints, found);
    auto &lookup = ferrolt::NameLookup::instance();
    std::unique_lock lock(lookup.mutex);
    if (asked == lookup.hanging) {
        ++lookup.hangs;
        lookup.changed.notify_all();
        lookup.changed.wait(lock, [&] { return asked != lookup.hanging; });
    }
    const auto known = lookup.addresses.find(asked);
    if (known == lookup.addresses.end())
        return EAI_NONAME;
    addrinfo *first = nullptr;
    for (std::size_t i = known->second.size(); i-- > 0;) {
        addrinfo *one = nullptr;
        if (const int failure = real(known->second[i], service, hints, &one); failure != 0)
            return failure;
        addrinfo *last = one;
        while (last->ai_next != nullptr)
            last = last->ai_next;
        last->ai_next = first;
        first = one;
    }
    *found = first;
    return 0;
}

#include "NameLookup.h"

#include <dlfcn.h>
#include <netdb.h>

// Replaces the C library's.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
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

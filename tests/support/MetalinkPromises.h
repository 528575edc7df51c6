#pragma once

#include "Metalink.h"

#include <algorithm>

namespace ferrolt {

/// Whether a result has the properties that hold for every document.
inline bool keepsItsPromises(const Metalink &metalink) {
    const bool web = std::ranges::all_of(metalink.mirrors, [](const QUrl &url) {
        return url.isValid() &&
               (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https"));
    });
    if (!metalink.sha256)
        return web;
    const QString &hash = *metalink.sha256;
    return web && !hash.isEmpty() && hash == hash.trimmed() && hash == hash.toLower();
}

}  // namespace ferrolt

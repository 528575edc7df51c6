#include "RedirectRule.h"

#include <QHostAddress>
#include <QHostInfo>
#include <QThread>

#include <algorithm>
#include <utility>

namespace ferrolt {

namespace {

using Found = std::function<void(const QList<QHostAddress> &)>;

/// A literal address is not handed to QHostInfo, which would ask a name server for its name.
void lookUp(const QUrl &url, QObject *context, Found found) {
    const QHostAddress address(url.host());
    if (!address.isNull())
        found({address});
    else
        QHostInfo::lookupHost(url.host(), context,
                              [found = std::move(found)](const QHostInfo &info) { found(info.addresses()); });
}

}  // namespace

bool isLocalAddress(const QHostAddress &address) {
    bool isV4 = false;
    const QHostAddress v4(address.toIPv4Address(&isV4));  // also an IPv4 address mapped into IPv6
    const QHostAddress &plain = isV4 ? v4 : address;
    const auto isIn = [&](const char *network, int bits) {
        return plain.isInSubnet(QHostAddress(QLatin1String(network)), bits);
    };
    // QHostAddress::isGlobal() is true of the private networks.
    return !plain.isGlobal() || plain.isUniqueLocalUnicast() || isIn("10.0.0.0", 8) ||
           isIn("172.16.0.0", 12) || isIn("192.168.0.0", 16) || isIn("100.64.0.0", 10);
}

void decideRedirect(const QUrl &from, const QUrl &to, QObject *context, std::function<void(bool)> decided) {
    Q_ASSERT(context->thread() == QThread::currentThread());
    if (from.scheme() == QLatin1String("https") && to.scheme() != QLatin1String("https")) {
        decided(false);
        return;
    }
    lookUp(to, context, [from, context, decided = std::move(decided)](const QList<QHostAddress> &targets) {
        if (std::ranges::none_of(targets, isLocalAddress)) {
            decided(true);
            return;
        }
        lookUp(from, context, [decided](const QList<QHostAddress> &origins) {
            decided(!origins.isEmpty() && std::ranges::all_of(origins, isLocalAddress));
        });
    });
}

}  // namespace ferrolt

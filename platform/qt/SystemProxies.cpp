#include "SystemProxies.h"

#include "HostLookup.h"

#include <QNetworkProxy>
#include <QNetworkProxyQuery>

#include <utility>

namespace ferrolt {

namespace {

/// Of several proxies the others come into play only when the first one fails.
QString firstHost(const QUrl &url, const QList<QNetworkProxy> &proxies) {
    const bool direct = proxies.isEmpty() || proxies.first().hostName().isEmpty();
    return direct ? url.host(QUrl::FullyEncoded) : proxies.first().hostName();
}

}  // namespace

std::optional<QList<QNetworkProxy>> SystemProxies::ask(const QUrl &url) {
    const auto proxies = systemProxyForQuery(QNetworkProxyQuery(url));
    if (!isKnownHost(firstHost(url, proxies).toStdString()))
        return std::nullopt;
    return proxies;
}

void SystemProxies::set(const QUrl &url, QList<QNetworkProxy> proxies) {
    answers[originOf(url)] = std::move(proxies);
}

QList<QNetworkProxy> SystemProxies::queryProxy(const QNetworkProxyQuery &query) {
    const auto answer = answers.find(originOf(query.url()));
    return answer != answers.end() ? answer->second : QList{QNetworkProxy(QNetworkProxy::NoProxy)};
}

SystemProxies::Origin SystemProxies::originOf(const QUrl &url) {
    return {url.scheme(), url.host(), url.port()};
}

}  // namespace ferrolt

#include "SystemProxies.h"

#include <QNetworkProxy>
#include <QNetworkProxyQuery>

#include <utility>

namespace ferrolt {

QList<QNetworkProxy> SystemProxies::ask(const QUrl &url) {
    return systemProxyForQuery(QNetworkProxyQuery(url));
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

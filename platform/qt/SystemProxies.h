#pragma once

#include <QNetworkProxyFactory>
#include <QUrl>

#include <map>
#include <optional>
#include <tuple>

namespace ferrolt {

/// Gives a network access manager the system's proxies without ever asking for them itself: the system may
/// have to fetch and run a script for its answer and block for as long, so a transfer asks on a background
/// thread and leaves the answer here before it starts. Lives on the session's thread.
class SystemProxies : public QNetworkProxyFactory {
  public:
    /// What leads to `url`; nothing if the first host on the way is not known by name. Blocks. Any thread.
    ///
    /// Qt looks names up on threads of its own, but waits for them at the program's end, for as long as a
    /// name server that does not answer makes them wait. Asking here first, it only ever asks for names that
    /// are known.
    static std::optional<QList<QNetworkProxy>> ask(const QUrl &url);

    void set(const QUrl &url, QList<QNetworkProxy> proxies);

    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery &query) override;

  private:
    using Origin = std::tuple<QString, QString, int>;
    static Origin originOf(const QUrl &url);

    std::map<Origin, QList<QNetworkProxy>> answers;
};

}  // namespace ferrolt

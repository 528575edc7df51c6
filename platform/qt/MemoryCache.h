#pragma once

#include <QAbstractNetworkCache>
#include <QByteArray>
#include <QHash>
#include <QList>
#include <QUrl>

#include <memory>
#include <vector>

class QBuffer;

namespace ferrolt {

/// A cache of replies that is forgotten with its session. Which replies may be kept and for how long is
/// decided by the network access manager, by the rules of HTTP; this only holds them, a few small ones. Lives
/// on the session's thread.
class MemoryCache : public QAbstractNetworkCache {
  public:
    /// All bodies together, in bytes.
    static constexpr qint64 capacity = 512 * 1024;

    MemoryCache();
    ~MemoryCache() override;

    /// From the first to the second, a request is with its server, whose answer is what counts: Qt would put
    /// a kept reply in the place of an error of 500 or more, and now and then lose the reply's end over it.
    void requestWasSent(const QUrl &url) { withServer.append(url); }
    void requestIsOver(const QUrl &url) { withServer.removeOne(url); }

    QNetworkCacheMetaData metaData(const QUrl &url) override;
    void updateMetaData(const QNetworkCacheMetaData &metaData) override;
    QIODevice *data(const QUrl &url) override;
    bool remove(const QUrl &url) override;
    qint64 cacheSize() const override;
    QIODevice *prepare(const QNetworkCacheMetaData &metaData) override;
    void insert(QIODevice *device) override;
    void clear() override;

  private:
    struct Entry {
        QNetworkCacheMetaData metaData;
        QByteArray body;
    };
    struct Pending {
        QNetworkCacheMetaData metaData;
        std::unique_ptr<QBuffer> body;
    };

    QHash<QUrl, Entry> entries;
    QList<QUrl> withServer;
    std::vector<Pending> pending;
};

}  // namespace ferrolt

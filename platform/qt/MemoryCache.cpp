#include "MemoryCache.h"

#include <QBuffer>

#include <utility>
#include <vector>

namespace ferrolt {

MemoryCache::MemoryCache() = default;
MemoryCache::~MemoryCache() = default;

namespace {

/// The same, with an order that Qt obeys before it gives out a reply that the server did not confirm.
QNetworkCacheMetaData onlyIfConfirmed(QNetworkCacheMetaData metaData) {
    const QByteArray name = "Cache-Control";
    QByteArray orders = "must-revalidate";
    QNetworkCacheMetaData::RawHeaderList headers;
    for (const auto &header : metaData.rawHeaders()) {
        if (header.first.compare(name, Qt::CaseInsensitive) == 0)
            orders += ", " + header.second;
        else
            headers.append(header);
    }
    headers.append({name, orders});
    metaData.setRawHeaders(headers);
    return metaData;
}

}  // namespace

QNetworkCacheMetaData MemoryCache::metaData(const QUrl &url) {
    const auto entry = entries.constFind(url);
    if (entry == entries.cend())
        return {};
    return withServer.contains(url) ? onlyIfConfirmed(entry->metaData) : entry->metaData;
}

void MemoryCache::updateMetaData(const QNetworkCacheMetaData &metaData) {
    if (const auto entry = entries.find(metaData.url()); entry != entries.end())
        entry->metaData = metaData;
}

QIODevice *MemoryCache::data(const QUrl &url) {
    const auto entry = entries.constFind(url);
    if (entry == entries.cend())
        return nullptr;
    auto body = std::make_unique<QBuffer>();
    body->setData(entry->body);
    body->open(QIODevice::ReadOnly);
    return body.release();  // the caller's, as the interface has it
}

bool MemoryCache::remove(const QUrl &url) {
    std::erase_if(pending, [&](const Pending &one) { return one.metaData.url() == url; });
    return entries.remove(url);
}

qint64 MemoryCache::cacheSize() const {
    qint64 size = 0;
    for (const Entry &entry : entries)
        size += entry.body.size();
    return size;
}

QIODevice *MemoryCache::prepare(const QNetworkCacheMetaData &metaData) {
    if (!metaData.isValid() || !metaData.url().isValid() || !metaData.saveToDisk())
        return nullptr;
    auto body = std::make_unique<QBuffer>();
    body->open(QIODevice::ReadWrite);
    pending.push_back({metaData, std::move(body)});
    return pending.back().body.get();
}

void MemoryCache::insert(QIODevice *device) {
    for (auto one = pending.begin(); one != pending.end(); ++one) {
        if (one->body.get() != device)
            continue;
        const QByteArray body = one->body->data();
        entries.remove(one->metaData.url());
        if (body.size() <= capacity) {
            if (cacheSize() + body.size() > capacity)
                entries.clear();
            entries.insert(one->metaData.url(), {one->metaData, body});
        }
        pending.erase(one);
        return;
    }
}

void MemoryCache::clear() {
    entries.clear();
    pending.clear();
}

}  // namespace ferrolt

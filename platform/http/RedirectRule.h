#pragma once

#include <QObject>
#include <QUrl>

#include <functional>

class QHostAddress;

namespace ferrolt {

/// Whether the address is a host's own or that of a local network: loopback, link-local, private (RFC 1918,
/// RFC 4193), shared (RFC 6598), or for no single host at all.
bool isLocalAddress(const QHostAddress &address);

/// Decides whether a redirect is followed: never from https to http, and not from a public host to one with a
/// local address. Without this, an attacker who answers for an http mirror could make the launcher send
/// requests to services on this machine and its network.
///
/// A name counts by the addresses that it resolves to now. What remains: the connection resolves the name
/// again, so a name server that answers differently a moment later (DNS rebinding) is not caught. A name that
/// cannot be resolved passes: without a proxy the connection fails as well, and a proxy resolves names by
/// itself.
///
/// Calls `decided` once, on the thread of `context`; not if that is destroyed before.
void decideRedirect(const QUrl &from, const QUrl &to, QObject *context, std::function<void(bool)> decided);

}  // namespace ferrolt

#pragma once

#include <QObject>
#include <QUrl>

#include <functional>

class QHostAddress;

namespace ferrolt {

/// Whether an address is loopback, link-local, private (RFC 1918, RFC 4193), shared (RFC 6598), or none of a
/// single host (broadcast, multicast).
bool isLocalAddress(const QHostAddress &address);

/// Decides whether a redirect is followed: never from https to http, nor from a public host to one with a
/// local address. Otherwise an attacker in the place of an http mirror could have the launcher send requests
/// to services on this machine and its network.
///
/// A host name stands for the addresses that it resolves to now. The connection resolves it again, so DNS
/// rebinding, a different answer a moment later, is not caught. A name that does not resolve is allowed:
/// without a proxy the connection fails too, and a proxy resolves names itself.
///
/// Calls `decided` once, on the thread of `context`, unless `context` is destroyed first. To be called on
/// that thread.
void decideRedirect(const QUrl &from, const QUrl &to, QObject *context, std::function<void(bool)> decided);

}  // namespace ferrolt

#pragma once

#include <QString>

#include <optional>

namespace ferrolt {

/// Reads single values out of the client configuration, which belongs to the client and is edited by people
/// too: every call reads the file afresh. Whatever cannot be read is absent; nothing is reported. Stateless;
/// main thread.
class LoadProps {
  public:
    LoadProps() = delete;

    /// The value of the first line that begins with `key` and has a "=", trimmed of spaces and tabs. The key
    /// is compared as it stands: case counts, an indented line is no entry, and a line whose key is longer
    /// than `key` is one.
    static std::optional<QString> value(const QString &key);

    /// The miner's identity; the empty text when absent.
    static QString MinerEmailAddress();
    static QString MinerEntityName();
    static QString MinerDisplayName();
};

}  // namespace ferrolt

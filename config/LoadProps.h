#pragma once

#include <QString>

#include <optional>

namespace ferrolt {

/// Reads single values from the client configuration. Every call reads the file again, because the client and
/// its user may change it. What cannot be read is absent; errors are not reported. Stateless; main thread.
class LoadProps {
  public:
    LoadProps() = delete;

    /// The value of the first line that starts with `key` and has a "=", trimmed of spaces and tabs.
    /// Case-sensitive. An indented line does not match; a line with a longer key that starts with `key` does.
    static std::optional<QString> value(const QString &key);

    /// The miner's identity; the empty text when absent.
    static QString MinerEmailAddress();
    static QString MinerEntityName();
    static QString MinerDisplayName();

    /// Whether the e-mail address and the entity name are non-empty. The client needs no more to run.
    static bool isIdentityComplete();
};

}  // namespace ferrolt

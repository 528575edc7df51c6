#pragma once

#include <QString>

namespace ferrolt {

/// Writes the miner's identity into the client configuration. Stateless. One thread at a time; another thread
/// than the main one only after the main thread has called clientConfigurationPath().
class SaveProps {
  public:
    SaveProps() = delete;

    /// Rewrites the three identity lines, adds those that are missing, and keeps all other lines. Creates a
    /// missing file from the template, with its folder. The result is UTF-8 with line feeds and replaces the
    /// file atomically. Reports no errors: a file that cannot be read or replaced stays unchanged.
    ///
    /// Values are neither trimmed nor quoted nor escaped. A value with a "=" therefore reads back up to that
    /// sign, and one with a newline character would add lines; the form's single-line fields do not accept
    /// one.
    static void save(const QString &emailAddress, const QString &entityName, const QString &displayName);
};

}  // namespace ferrolt

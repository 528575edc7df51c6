#pragma once

#include <QString>

namespace ferrolt {

/// Writes the miner's identity into the client configuration. Stateless. One thread at a time, and
/// not the first to ask for clientConfigurationPath() unless it is the main one.
class SaveProps {
  public:
    SaveProps() = delete;

    /// Rewrites the three identity lines, or adds those that are missing, and leaves every other line as it
    /// is; a file that is not there is made from the template, with its folder. The result is UTF-8 whose
    /// lines end in a line feed, and replaces the file as a whole. Reports nothing: a file that cannot be
    /// read, changed or replaced stays as it was.
    ///
    /// Values are written as they are, neither trimmed nor quoted nor escaped. So one with a "=" reads back
    /// up to that sign, and one with a newline character, which no single-line field lets through, makes
    /// lines of its own.
    static void save(const QString &emailAddress, const QString &entityName, const QString &displayName);
};

}  // namespace ferrolt

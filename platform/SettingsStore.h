#pragma once

#include <QString>

#include <filesystem>
#include <memory>
#include <optional>

namespace ferrolt {

/// The user's settings of this application: texts under keys. On macOS the user's defaults database in the
/// domain of the reverse-domain identifier; on Linux a JSON object in a file that is named after it in the
/// user's configuration folder.
///
/// What is stored is on disk, whole, when the call returns. A file that is not understood counts as one
/// without entries; one that cannot be read has none either, and is not written. Main thread.
///
/// Why the file is not QSettings': its INI format builds whatever object a damaged line describes, and in any
/// format it waits up to 30 seconds for a lock that another host has left on a shared home folder. One
/// process writes the file, so no lock is needed.
class SettingsStore {
  public:
    /// The store of the user who runs the program.
    static std::shared_ptr<SettingsStore> ofUser();

    /// A store of its own in the file `file`, which need not exist yet, nor its folder.
    explicit SettingsStore(std::filesystem::path file);
    virtual ~SettingsStore() = default;

    /// The text under `key`; nothing if there is none or it is not a text.
    virtual std::optional<QString> text(const QString &key) const;

    /// Stores `value` under `key`. False if it could not be written; the store is then as it was.
    virtual bool setText(const QString &key, const QString &value);

  private:
    std::filesystem::path file;
};

}  // namespace ferrolt

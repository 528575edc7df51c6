#pragma once

#include <QString>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

class QSettings;

namespace ferrolt {

/// The user's settings of this application: texts under keys. On macOS the user's defaults database in the
/// domain of the reverse-domain identifier; on Linux a JSON object in a file that is named after it in the
/// user's configuration folder.
///
/// What is stored is on disk, whole, when the call returns. A file that cannot be read or understood counts
/// as one without entries. Main thread.
class SettingsStore {
  public:
    /// The store of the user who runs the program.
    static std::shared_ptr<SettingsStore> ofUser();

    /// A store of its own in the file `file`, which need not exist yet, nor its folder.
    explicit SettingsStore(std::filesystem::path file);

    /// The text under `key`; nothing if there is none or it is not a text.
    std::optional<QString> text(const QString &key) const;

    /// Stores `value` under `key`. False if it could not be written; the store is then as it was.
    bool setText(const QString &key, const QString &value);

  private:
    /// Nothing if there is something in the file's place that is not a settings file.
    using Opener = std::function<std::unique_ptr<QSettings>()>;
    explicit SettingsStore(Opener open);

    Opener open;
};

}  // namespace ferrolt

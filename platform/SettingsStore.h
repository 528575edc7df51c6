#pragma once

#include <QString>

#include <filesystem>
#include <memory>
#include <optional>

namespace ferrolt {

/// The user's settings of this application: texts under keys. On macOS in the user's defaults, in the domain
/// of the reverse-domain identifier; on Linux in a JSON file of that name in the user's configuration folder.
///
/// setText() returns when the file is on disk. A file that is no JSON object counts as empty. A file that
/// cannot be read counts as empty too, and is never overwritten. Main thread.
class SettingsStore {
  public:
    /// The store of the user who runs the program.
    static std::shared_ptr<SettingsStore> ofUser();

    /// A store in `file`. The file and its folder need not exist yet.
    explicit SettingsStore(std::filesystem::path file);
    virtual ~SettingsStore() = default;

    /// The file that holds them.
    virtual std::filesystem::path path() const { return file; }

    /// The text under `key`; nothing if there is none or the value is no text.
    virtual std::optional<QString> text(const QString &key) const;

    /// Stores `value` under `key`. Returns false, and changes nothing, if it cannot be written.
    virtual bool setText(const QString &key, const QString &value);

  private:
    std::filesystem::path file;
};

}  // namespace ferrolt

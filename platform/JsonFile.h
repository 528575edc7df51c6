#pragma once

#include <QJsonObject>

#include <filesystem>
#include <optional>

namespace ferrolt {

/// A small file that holds one JSON object: settings and the like. Any thread.
///
/// Not QSettings: its INI format constructs any object that a damaged line describes, and all its formats
/// wait up to 30 seconds for a lock that another host left on a shared home folder. No lock is needed,
/// because one process writes the file.
class JsonFile {
  public:
    /// Empty if there is no file or it is no JSON object. Nothing if the file cannot be read, is no regular
    /// file (opening a pipe would block) or is larger than 1 MiB, and so none of ours.
    static std::optional<QJsonObject> read(const std::filesystem::path &file);

    /// Replaces the file atomically, and creates its folder if needed. Waits for the disk. Returns false, and
    /// leaves the old file, if that fails or read() would refuse the new file.
    [[nodiscard]] static bool write(const std::filesystem::path &file, const QJsonObject &object);
};

}  // namespace ferrolt

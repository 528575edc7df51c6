#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>

namespace ferrolt {

/// The deployment manifest: a small JSON object with which the update server controls the launcher.
class DeployConfig {
  public:
    /// Reads the keys "checkUpdateInterval" and "libreofficeversion", case-sensitive. Either may be missing
    /// or null; other keys are ignored; of a duplicate key the last one counts. Nothing when QJsonDocument,
    /// which accepts slightly more than RFC 8259, finds no object in the body, or when a value has another
    /// type: an interval must be an integer that fits into 64 bits (6.0 does, 6.5 and "6" do not), a version
    /// a string of at most 64 UTF-16 code units. A longer version fails the whole manifest: if only the
    /// version were dropped, the launcher would install its default version instead. Any thread.
    static std::optional<DeployConfig> decode(const QByteArray &body);

    const std::optional<std::int64_t> checkUpdateInterval;  ///< hours
    const std::optional<QString> libreofficeversion;

  private:
    DeployConfig(std::optional<std::int64_t> checkUpdateInterval, std::optional<QString> libreofficeversion);
};

}  // namespace ferrolt

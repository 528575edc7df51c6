#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>

namespace ferrolt {

/// The deployment manifest: a small JSON object (RFC 8259) by which the update server steers the launcher.
/// Its fields are set once, by decoding.
class DeployConfig {
  public:
    /// Reads the object's keys "checkUpdateInterval" and "libreofficeversion", exactly as written. Either may
    /// be missing or null, other keys do not matter, and of a key that comes twice the last one counts.
    /// Nothing if the body is no JSON object or a value is of another type: an interval must be a whole
    /// number that fits into 64 bits (6.0 is one, 6.5 and "6" are not), a version a text. Any thread.
    static std::optional<DeployConfig> decode(const QByteArray &body);

    const std::optional<std::int64_t> checkUpdateInterval;  ///< hours
    const std::optional<QString> libreofficeversion;

  private:
    DeployConfig(std::optional<std::int64_t> checkUpdateInterval, std::optional<QString> libreofficeversion);
};

}  // namespace ferrolt

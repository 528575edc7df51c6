#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>

namespace ferrolt {

/// The deployment manifest: a small JSON object by which the update server steers the launcher. Its fields
/// are set once, by decoding.
class DeployConfig {
  public:
    /// Reads the keys "checkUpdateInterval" and "libreofficeversion", exactly as written. Either may be
    /// missing or null; other keys are ignored; of a key that stands there twice the last one counts. Nothing
    /// if QJsonDocument, which forgives a little more than RFC 8259 does, finds no object in the body, or if
    /// a value is of another type: an interval is a whole number that fits into 64 bits (6.0 is one, 6.5 and
    /// "6" are not), a version a text of at most 64 UTF-16 code units. A manifest with a longer version fails
    /// as a whole: without its version, the launcher would install its default one instead. Any thread.
    static std::optional<DeployConfig> decode(const QByteArray &body);

    const std::optional<std::int64_t> checkUpdateInterval;  ///< hours
    const std::optional<QString> libreofficeversion;

  private:
    DeployConfig(std::optional<std::int64_t> checkUpdateInterval, std::optional<QString> libreofficeversion);
};

}  // namespace ferrolt

#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

namespace ferrolt {

/// The system's general clipboard. Main thread.
///
/// A text is passed in pieces of UTF-8, each of whole characters; nothing is put between them. The clipboard
/// shares the pieces' bytes and may join them only when a program pastes, so copying a full log of 64 MB
/// takes no time.
class Clipboard {
  public:
    virtual ~Clipboard() = default;
    virtual void clearContents() = 0;
    /// Puts one plain text on the clipboard.
    virtual void setText(std::vector<QByteArray> pieces) = 0;
    /// Sets the text that a middle click pastes, on desktops that have such a selection.
    virtual void offerSelection(std::vector<QByteArray> pieces) = 0;

    /// The text that was last searched for. macOS shares it among all programs, as the find pasteboard.
    virtual QString findText() const = 0;
    virtual void setFindText(const QString &text) = 0;
};

}  // namespace ferrolt

#pragma once

#include <QByteArray>

#include <vector>

namespace ferrolt {

/// The system's general clipboard. Main thread.
///
/// A text is handed over in the pieces in which it is kept: UTF-8, each piece whole characters, joined with
/// nothing between them. The clipboard shares their bytes and may join them as late as somebody pastes, so
/// that a full log of 64 MB is copied in a moment.
class Clipboard {
  public:
    virtual ~Clipboard() = default;
    virtual void clearContents() = 0;
    /// Puts one plain text on the clipboard.
    virtual void setText(std::vector<QByteArray> pieces) = 0;
    /// Offers a text that was just selected to the middle mouse button, on desktops that have that.
    virtual void offerSelection(std::vector<QByteArray> pieces) = 0;
};

}  // namespace ferrolt

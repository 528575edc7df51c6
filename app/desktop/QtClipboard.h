#pragma once

#include "Clipboard.h"

namespace ferrolt {

/// The desktop's clipboard, through Qt. Needs the application object.
class QtClipboard : public Clipboard {
  public:
    void clearContents() override;
    void setText(std::vector<QByteArray> pieces) override;
    void offerSelection(std::vector<QByteArray> pieces) override;
};

}  // namespace ferrolt

#pragma once

#include "Clipboard.h"

namespace ferrolt {

/// The desktop's clipboard, through Qt. Needs the application object.
class QtClipboard : public Clipboard {
  public:
    void clearContents() override;
    void setText(std::vector<QByteArray> pieces) override;
    void offerSelection(std::vector<QByteArray> pieces) override;
    QString findText() const override;
    void setFindText(const QString &text) override;

  private:
    QString ownFindText;  ///< on a desktop that shares none
};

}  // namespace ferrolt

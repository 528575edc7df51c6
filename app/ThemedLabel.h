#pragma once

#include <QLabel>
#include <QPalette>

namespace ferrolt {

/// A text in one of Theme's fonts and colours that follows the desktop's font and palette. Shown as it is: no
/// markup, no mnemonics.
class ThemedLabel : public QLabel {
    Q_OBJECT

  public:
    using FontRole = QFont (*)();
    using ColorRole = QColor (*)(const QPalette &);

    ThemedLabel(const QString &text, FontRole fontRole, ColorRole colorRole, QWidget *parent = nullptr);

  protected:
    void changeEvent(QEvent *event) override;

  private:
    void followTheme();

    FontRole fontRole;
    ColorRole colorRole;
    bool isFollowing = false;
};

}  // namespace ferrolt

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
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

  private:
    FontRole fontRole;
    ColorRole colorRole;
};

}  // namespace ferrolt

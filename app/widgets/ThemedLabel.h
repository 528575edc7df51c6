#pragma once

#include <QLabel>
#include <QPalette>

namespace ferrolt {

/// A text in one of Theme's fonts and colours that follows the desktop's font and palette. Shown as it is: no
/// markup, no mnemonics.
///
/// Both are asked for while measuring and painting. A font or a palette of the widget's own would not hear of
/// the desktop's next one.
class ThemedLabel : public QLabel {
    Q_OBJECT

  public:
    using FontRole = QFont (*)();
    using ColorRole = QColor (*)(const QPalette &);

    ThemedLabel(const QString &text, FontRole fontRole, ColorRole colorRole, QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    int heightForWidth(int width) const override;

  protected:
    void paintEvent(QPaintEvent *event) override;

  private:
    int flags() const;
    QSize marginSize() const;

    FontRole fontRole;
    ColorRole colorRole;
};

}  // namespace ferrolt

#pragma once

#include "Theme.h"

#include <QLabel>

namespace ferrolt {

/// A plain text, without markup or mnemonics, in one of Theme's fonts and colours. It asks for them whenever
/// it measures and paints: with a font or palette of its own, a widget would not follow the desktop's.
class ThemedLabel : public QLabel {
    Q_OBJECT

  public:
    ThemedLabel(const QString &text, Theme::FontRole fontRole, Theme::ColorRole colorRole,
                QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    int heightForWidth(int width) const override;

  protected:
    void paintEvent(QPaintEvent *event) override;

  private:
    int flags() const;
    QSize marginSize() const;

    Theme::FontRole fontRole;
    Theme::ColorRole colorRole;
};

}  // namespace ferrolt

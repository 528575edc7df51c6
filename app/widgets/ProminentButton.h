#pragma once

#include "FocusRing.h"
#include "Symbols.h"

#include <QPushButton>

namespace ferrolt {

/// The button of a form that does what the form is for: a symbol and a text on a surface of the accent
/// colour.
class ProminentButton : public QPushButton {
    Q_OBJECT

  public:
    /// The text is shown, and read by screen readers, as it is: an "&" stands for itself.
    ProminentButton(Symbol symbol, const QString &text, QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void paintEvent(QPaintEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void changeEvent(QEvent *event) override;

  private:
    Symbol symbol;
    QString label;
    FocusRing ring;
};

}  // namespace ferrolt

#pragma once

#include "SymbolView.h"

#include <QWidget>

namespace ferrolt {

class Announcement;

/// A symbol and a text below a control.
class StatusLine : public QWidget {
    Q_OBJECT

  public:
    StatusLine(Symbol symbol, const QString &text, SymbolView::FontRole fontRole,
               SymbolView::ColorRole colorRole, QWidget *parent = nullptr);

    /// Has screen readers say it, in whatever place they are.
    void speak();

  private:
    Announcement *const label;
};

}  // namespace ferrolt

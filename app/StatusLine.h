#pragma once

#include "Symbols.h"
#include "Theme.h"

#include <QWidget>

namespace ferrolt {

class Announcement;

/// A symbol and a text below a control.
class StatusLine : public QWidget {
    Q_OBJECT

  public:
    StatusLine(Symbol symbol, const QString &text, Theme::FontRole fontRole, Theme::ColorRole colorRole,
               QWidget *parent = nullptr);

    /// Makes screen readers say the text, wherever the focus is.
    void speak();

  private:
    Announcement *const label;
};

}  // namespace ferrolt

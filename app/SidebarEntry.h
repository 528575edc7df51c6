#pragma once

#include "Symbols.h"

#include <QToolButton>

namespace ferrolt {

/// A row of the sidebar that opens a page: a symbol and a text in the accent colour. One of the rows with the
/// same parent is selected at a time; the arrow keys select the one above or below.
///
/// A button, not an item of a QListWidget: Qt 6.4 gives list items neither an action nor a selection that a
/// screen reader could use. Main thread.
class SidebarEntry : public QToolButton {
    Q_OBJECT

  public:
    SidebarEntry(Symbol symbol, const QString &text, QWidget *parent);

  protected:
    void initStyleOption(QStyleOptionToolButton *option) const override;
    void keyPressEvent(QKeyEvent *event) override;

  private:
    Symbol symbol;
};

}  // namespace ferrolt

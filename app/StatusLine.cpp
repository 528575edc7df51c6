#include "StatusLine.h"

#include "Announcement.h"
#include "Theme.h"

#include <QHBoxLayout>

namespace ferrolt {
namespace {

constexpr int roomAbove = 4;

}  // namespace

StatusLine::StatusLine(Symbol symbol, const QString &text, SymbolView::FontRole fontRole,
                       SymbolView::ColorRole colorRole, QWidget *parent)
    : QWidget(parent), label(new Announcement(text, fontRole, colorRole, this)) {
    label->setWordWrap(true);
    auto *line = new QHBoxLayout(this);
    line->setContentsMargins(0, roomAbove, 0, 0);
    line->setSpacing(Theme::spacing);
    line->addWidget(new SymbolView(symbol, fontRole, colorRole, 0, this));
    line->addWidget(label, 1);
}

void StatusLine::speak() {
    label->speak();
}

}  // namespace ferrolt

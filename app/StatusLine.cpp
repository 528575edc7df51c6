#include "StatusLine.h"

#include "Announcement.h"
#include "SymbolView.h"

#include <QHBoxLayout>

namespace ferrolt {
namespace {

constexpr int topMargin = 4;

}  // namespace

StatusLine::StatusLine(Symbol symbol, const QString &text, Theme::FontRole fontRole,
                       Theme::ColorRole colorRole, QWidget *parent)
    : QWidget(parent), label(new Announcement(text, fontRole, colorRole, this)) {
    label->setWordWrap(true);
    auto *line = new QHBoxLayout(this);
    line->setContentsMargins(0, topMargin, 0, 0);
    line->setSpacing(Theme::spacing);
    line->addWidget(new SymbolView(symbol, fontRole, colorRole, 0, this));
    line->addWidget(label, 1);
}

void StatusLine::speak() {
    label->speak();
}

}  // namespace ferrolt

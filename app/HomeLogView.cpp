#include "HomeLogView.h"

#include "AppVars.h"
#include "ChangeFollower.h"
#include "LogConsoleView.h"
#include "LogTextArea.h"
#include "PaneSplitter.h"

#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <utility>

namespace ferrolt {
namespace {

constexpr int dividerHeight = 6;

}  // namespace

HomeLogView::HomeLogView(std::shared_ptr<AppVars> appVars, std::shared_ptr<TimeSource> time,
                         std::shared_ptr<Clipboard> clipboard, QWidget *parent)
    : QWidget(parent), _appVars(std::move(appVars)), time(std::move(time)), clipboard(std::move(clipboard)) {
    if (!_appVars || !this->time || !this->clipboard)
        qFatal("The logs were built without the launcher state that they show.");
    lumora = new LogConsoleView(QStringLiteral("Lumora Core Engine"), _appVars->lumoraLog(),
                                QStringLiteral("lumBottom"), *this->clipboard, *this->time);
    qorClient = new LogConsoleView(QStringLiteral("Qor Client"), _appVars->qorClientLog(),
                                   QStringLiteral("qorBottom"), *this->clipboard, *this->time);
    panes = new PaneSplitter(Qt::Vertical, QStringLiteral("Log heights"));
    panes->setHandleWidth(dividerHeight);
    connect(panes, &QSplitter::splitterMoved, this, &HomeLogView::dividerMoved);
    for (LogConsoleView *console : {lumora, qorClient})
        panes->addWidget(console);
    auto *whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->addWidget(panes);
    // The gaps between the panes show the window's background.
    setAutoFillBackground(true);
    // Tab reaches the divider between the two logs.
    setTabOrder(&lumora->textArea(), panes->handle(1));

    auto *follower = new ChangeFollower(this, [this] { refresh(); });
    connect(_appVars.get(), &AppVars::objectWillChange, this, [this, follower](AppVars::Change change) {
        switch (change) {
            case AppVars::Change::State:
                follower->changeAnnounced();
                break;
            case AppVars::Change::LumoraLog:
                lumora->logChanged();
                break;
            case AppVars::Change::QorClientLog:
                qorClient->logChanged();
                break;
        }
    });
    refresh();
}

// The consoles refer to members of this object, so they go before them.
HomeLogView::~HomeLogView() {
    delete panes;
}

void HomeLogView::setUpperShare(double wanted) {
    share = std::clamp(wanted, 0.0, 1.0);
    placeDivider();
}

void HomeLogView::placeDivider() {
    const int whole = panes->height() - dividerHeight;
    const int upper = static_cast<int>(std::lround(whole * share));
    panes->setSizes({upper, whole - upper});
}

void HomeLogView::dividerMoved() {
    const QList<int> heights = panes->sizes();
    share = static_cast<double>(heights.constFirst()) / (heights.constFirst() + heights.constLast());
}

/// From the share each time: the splitter would go by the heights before, in which a window that was still
/// lower, such as one about to be maximized, may have held a log at its min height.
void HomeLogView::resizeEvent(QResizeEvent *event) {
    QWidget::resizeEvent(event);
    placeDivider();
}

void HomeLogView::refresh() {
    lumora->setRunning(_appVars->_isLumRunning);
    qorClient->setRunning(_appVars->_isQorClientRunning);
}

}  // namespace ferrolt

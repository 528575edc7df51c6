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
    for (LogConsoleView *console : {lumora, qorClient})
        panes->addWidget(console);
    auto *whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->addWidget(panes);
    // The gaps between the panes show the window's background.
    setAutoFillBackground(true);
    setUpperShare(0.5);
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

double HomeLogView::upperShare() const {
    if (shareToCome)
        return *shareToCome;
    const QList<int> heights = panes->sizes();
    const int whole = heights.constFirst() + heights.constLast();
    return whole > 0 ? static_cast<double>(heights.constFirst()) / whole : 0.5;
}

void HomeLogView::setUpperShare(double share) {
    share = std::clamp(share, 0.0, 1.0);
    if (!isVisible()) {
        // The final height is not known yet; with a smaller one the min heights could distort the share.
        shareToCome = share;
        return;
    }
    const int whole = panes->height() - dividerHeight;
    const int upper = static_cast<int>(std::lround(whole * share));
    panes->setSizes({upper, whole - upper});
}

void HomeLogView::showEvent(QShowEvent *event) {
    QWidget::showEvent(event);
    if (shareToCome)
        setUpperShare(*std::exchange(shareToCome, std::nullopt));
}

void HomeLogView::refresh() {
    lumora->setRunning(_appVars->_isLumRunning);
    qorClient->setRunning(_appVars->_isQorClientRunning);
}

}  // namespace ferrolt

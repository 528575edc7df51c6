#include "LauncherPrefs.h"

#include "BringToFront.h"
#include "Card.h"
#include "StatusLine.h"
#include "SymbolView.h"
#include "TextField.h"
#include "Theme.h"
#include "ThemedLabel.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QPushButton>
#include <QScrollArea>
#include <QShowEvent>
#include <QVBoxLayout>

#include <utility>

namespace ferrolt {
namespace {

constexpr int groupSpacing = 20;
constexpr int rowSpacing = 12;
constexpr int titlePadding = 4;
constexpr int symbolFrameWidth = 20;

QVBoxLayout *makeStack(QWidget *owner, int spacing, int margin) {
    auto *stack = new QVBoxLayout(owner);
    stack->setSpacing(spacing);
    stack->setContentsMargins(margin, margin, margin, margin);
    return stack;
}

void addRow(QVBoxLayout *rows, Symbol symbol, TextField *field) {
    auto *row = new QHBoxLayout;
    row->setSpacing(Theme::spacing);
    row->addWidget(new SymbolView(symbol, Theme::body, Theme::secondaryText, symbolFrameWidth));
    row->addWidget(field);
    rows->addLayout(row);
}

}  // namespace

LauncherPrefs::LauncherPrefs(std::function<void()> startServices, std::shared_ptr<TimeSource> time,
                             QWidget *parent)
    : QWidget(parent), model(std::move(startServices), std::move(time)) {
    auto *content = new QWidget;
    auto *scrollArea = new QScrollArea(this);
    scrollArea->setFrameShape(QFrame::NoFrame);
    scrollArea->setWidgetResizable(true);
    // The controls inside take the focus, and are scrolled into view then.
    scrollArea->setFocusPolicy(Qt::NoFocus);
    // While it is empty: setWidget() would lay it out for a size that it never gets.
    scrollArea->setWidget(content);
    makeStack(this, 0, 0)->addWidget(scrollArea);

    QVBoxLayout *groups = makeStack(content, groupSpacing, Theme::padding);
    groups->addWidget(makeIdentityGroup());
    groups->addWidget(makeApplyGroup());
    groups->addStretch();

    connect(&model, &LauncherPrefsModel::savedSuccessfullyChanged, this, &LauncherPrefs::showStatusLine);
    showStatusLine();
}

QWidget *LauncherPrefs::makeIdentityGroup() {
    auto *group = new QWidget;
    QVBoxLayout *stack = makeStack(group, rowSpacing, 0);
    auto *title =
        new ThemedLabel(QStringLiteral("Miner Client Registration"), Theme::headline, Theme::primaryText);
    title->setContentsMargins(0, 0, 0, titlePadding);
    stack->addWidget(title);

    email = makeField(QStringLiteral("E-Mail Address"), &LauncherPrefsModel::_email);
    entity = makeField(QStringLiteral("User / Company Name"), &LauncherPrefsModel::_entity);
    displayName =
        makeField(QStringLiteral("Machine Display Name (Optional)"), &LauncherPrefsModel::_displayName);
    auto *card = new Card;
    QVBoxLayout *rows = makeStack(card, rowSpacing, Theme::padding);
    addRow(rows, Symbol::Envelope, email);
    addRow(rows, Symbol::Person, entity);
    addRow(rows, Symbol::Desktop, displayName);
    stack->addWidget(card);
    return group;
}

QWidget *LauncherPrefs::makeApplyGroup() {
    auto *card = new Card;
    QVBoxLayout *stack = makeStack(card, rowSpacing, Theme::padding);
    auto *apply = new QPushButton(symbolIcon(Symbol::Paperplane, Theme::primaryText),
                                  QStringLiteral("Save && Apply Configuration"));
    apply->setAccessibleName(QStringLiteral("Save & Apply Configuration"));  // Qt would drop the "&"
    apply->setDefault(true);
    apply->setAutoDefault(false);  // stays the default one when it loses the focus
    apply->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(apply, &QPushButton::clicked, this, [this] { model.saveAndApply(); });
    stack->addWidget(apply);
    success = new StatusLine(Symbol::CheckmarkCircle, QStringLiteral("Settings applied successfully!"),
                             Theme::subheadline, Theme::green);
    stack->addWidget(success);
    missingCredentials = new StatusLine(
        Symbol::InfoCircle, QStringLiteral("Note: Missing required E-Mail and User/Company credentials."),
        Theme::caption, Theme::secondaryText);
    stack->addWidget(missingCredentials);
    return card;
}

TextField *LauncherPrefs::makeField(const QString &placeholder, QString LauncherPrefsModel::*target) {
    auto *field = new TextField(placeholder);
    // Not textEdited(): a screen reader sets the whole text.
    connect(field, &QLineEdit::textChanged, this, [this, target](const QString &text) {
        if (isLoading)
            return;
        model.*target = text;
        showStatusLine();
    });
    return field;
}

void LauncherPrefs::showEvent(QShowEvent *event) {
    QWidget::showEvent(event);
    // Spontaneous: the window was minimized or on another desktop, not closed.
    if (event->spontaneous() || isBeingShownAgain(*window()))
        return;
    model.load();
    // A stored text that is too long for its field is shown cut, and stays whole in the file unless it is
    // edited.
    isLoading = true;
    email->setText(model._email);
    entity->setText(model._entity);
    displayName->setText(model._displayName);
    isLoading = false;
    showStatusLine();
    // The window appears with the form. A form that the user chose leaves the focus in the sidebar, where the
    // arrow keys go on to the next entry.
    if (!QApplication::focusWidget())
        email->setFocus();
}

void LauncherPrefs::showStatusLine() {
    const LauncherPrefsModel::StatusLine line = model.statusLine();
    const bool isSuccess = line == LauncherPrefsModel::StatusLine::Success;
    const bool isMissing = line == LauncherPrefsModel::StatusLine::MissingCredentials;
    // Hide first: with both visible, the card would grow for a moment.
    (isSuccess ? missingCredentials : success)->setVisible(false);
    const bool isNew = isSuccess && success->isHidden();
    success->setVisible(isSuccess);
    if (isNew)
        success->speak();
    missingCredentials->setVisible(isMissing);
}

}  // namespace ferrolt

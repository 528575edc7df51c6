#pragma once

#include <QWidget>

#include <optional>

class QMenu;
class QVBoxLayout;

namespace ferrolt {

class MenuButton;
class SidebarEntry;
class StatusRow;
class ThemedLabel;

/// Groups the entries. AccessibleRoles gives it the role of a list.
class SidebarList : public QWidget {
    Q_OBJECT

  public:
    using QWidget::QWidget;
};

/// The window's left column: the entries "Home" and "Settings", and below them the status of both services.
/// Main thread.
class Sidebar : public QWidget {
    Q_OBJECT

  public:
    static constexpr int minimumColumnWidth = 180;
    static constexpr int idealColumnWidth = 200;
    static constexpr int maximumColumnWidth = 250;

    explicit Sidebar(QWidget *parent = nullptr);

    /// Highlights the entry with the tag `tab`; none changes nothing.
    void showSelectedTab(const std::optional<QString> &tab);
    void showLumoraCore(bool isRunning);
    void showQorClient(bool isRunning);
    /// Shows or hides a text below both that says that the launcher is stopped until it is restarted.
    void showPermanentStop(bool isStopped);

    /// The menu that the button at the bottom and a right click open. Not owned.
    void setMenu(QMenu *menu);
    MenuButton *menuButton() const { return button; }

    /// Adds a widget at the bottom, above the menu button. Takes ownership.
    void setFoot(QWidget *foot);

  Q_SIGNALS:
    /// The user chose an entry; `tab` is its tag.
    void tabChosen(const QString &tab);

  protected:
    void paintEvent(QPaintEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void changeEvent(QEvent *event) override;

  private:
    SidebarEntry *home;
    SidebarEntry *settings;
    StatusRow *lumoraCore;
    StatusRow *qorClient;
    ThemedLabel *permanentStop;
    MenuButton *button;
    QVBoxLayout *column;
};

}  // namespace ferrolt

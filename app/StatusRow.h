#pragma once

#include <QWidget>

namespace ferrolt {

/// Says of one service whether it runs: a green or gray dot and the service's name. Screen readers, which see
/// no colour, get it in words.
class StatusRow : public QWidget {
    Q_OBJECT

  public:
    StatusRow(const QString &serviceName, QWidget *parent);

    void setRunning(bool isRunning);

    /// What it says, in words: "Lumora Core, running".
    static QString words(const QString &serviceName, bool isRunning);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  protected:
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

  private:
    void nameForScreenReaders();

    QString serviceName;
    bool isServiceRunning = false;
};

}  // namespace ferrolt

#pragma once

#include <QWidget>

namespace ferrolt {

/// Shows whether a service runs: a green dot, or a gray one with a bar cut out of it, and the service's name.
/// The accessible name and the tool tip say it in words. Main thread.
class StatusRow : public QWidget {
    Q_OBJECT

  public:
    StatusRow(const QString &serviceName, QWidget *parent);

    void setRunning(bool isRunning);

    /// Such as "Lumora Core, running".
    static QString words(const QString &serviceName, bool isRunning);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  protected:
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

  private:
    void updateWords();

    QString serviceName;
    bool isServiceRunning = false;
};

}  // namespace ferrolt

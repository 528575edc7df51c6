#pragma once

#include <QWidget>

namespace ferrolt {

/// Shows whether a service runs: a green or gray dot and the service's name. The accessible name says it in
/// words. Main thread.
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
    void updateAccessibleName();

    QString serviceName;
    bool isServiceRunning = false;
};

}  // namespace ferrolt

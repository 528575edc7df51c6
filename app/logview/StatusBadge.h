#pragma once

#include <QWidget>

namespace ferrolt {

/// A small rounded card that says "Running" or "Stopped", with a dot before it.
class StatusBadge : public QWidget {
    Q_OBJECT

  public:
    explicit StatusBadge(QWidget *parent = nullptr);

    void setRunning(bool isRunning);
    QString text() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

  private:
    QFont captionFont() const;

    bool isServiceRunning = false;
};

}  // namespace ferrolt

#pragma once

#include <QWidget>

namespace ferrolt {

/// A small rounded card with a dot and the text "Running" or "Stopped". A bar is cut out of the dot of a
/// stopped service. Main thread.
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

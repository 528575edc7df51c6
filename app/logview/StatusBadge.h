#pragma once

#include "ServiceStatus.h"

#include <QWidget>

namespace ferrolt {

/// A small rounded card that says "Running" or "Stopped", with a dot before it.
class StatusBadge : public QWidget {
    Q_OBJECT

  public:
    explicit StatusBadge(QWidget *parent = nullptr);

    void setStatus(ServiceStatus status);
    ServiceStatus status() const { return shown; }
    QString text() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

  private:
    QFont captionFont() const;

    ServiceStatus shown = ServiceStatus::Stopped;
};

}  // namespace ferrolt

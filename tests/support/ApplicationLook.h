#pragma once

#include <QApplication>
#include <QFont>
#include <QPalette>

namespace ferrolt {

/// Changes the application's font and palette; both are as before when it is destroyed, after a failed test
/// too.
class ApplicationLook {
  public:
    ApplicationLook() = default;
    ~ApplicationLook() {
        QApplication::setFont(font);
        QApplication::setPalette(QPalette());
    }
    ApplicationLook(const ApplicationLook &) = delete;
    ApplicationLook &operator=(const ApplicationLook &) = delete;

    void setPointSize(qreal size) const {
        QFont changed = font;
        changed.setPointSizeF(size);
        QApplication::setFont(changed);
    }
    void setPixelSize(int size) const {
        QFont changed = font;
        changed.setPixelSize(size);
        QApplication::setFont(changed);
    }
    void setPalette(const QPalette &palette) const { QApplication::setPalette(palette); }

  private:
    const QFont font = QApplication::font();
};

}  // namespace ferrolt

#pragma once

#include <QScrollBar>

#include <functional>
#include <optional>

namespace ferrolt {

/// A log's scroll bar. A log that runs on moves the bar's numbers with every look at it, and a style's scroll
/// bar draws itself anew for each of them, which costs half of what the text does; this one does so only when
/// something else is to be seen.
///
/// Main thread.
class LogScrollBar : public QScrollBar {
  public:
    explicit LogScrollBar(QWidget *parent = nullptr) : QScrollBar(Qt::Vertical, parent) {}

    /// Sets what `set` sets, and then sees whether anything of it is to be drawn.
    void change(const std::function<void()> &set);
    /// Whether what listeners hear now comes from there, and not from the user.
    bool isBeingChanged() const { return isBeingSet; }

  protected:
    void paintEvent(QPaintEvent *event) override;
    void sliderChange(SliderChange change) override;

  private:
    /// What a style draws a scroll bar by.
    struct Look {
        QRect slider;
        bool isAtStart = false;
        bool isAtEnd = false;
        bool operator==(const Look &) const = default;
    };
    Look look() const;

    std::optional<Look> painted;
    bool isBeingSet = false;
};

}  // namespace ferrolt

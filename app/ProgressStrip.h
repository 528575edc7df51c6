#pragma once

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QProgressBar>

#include <memory>

namespace ferrolt {

class InstallProgress;

/// A line of text over a thin bar that shows the progress of an installation. Hidden while none runs.
///
/// While the total is unknown, a part of the bar moves across it, but only while the strip is visible. Where
/// the user wants no motion, that part stands in the middle. Main thread.
class ProgressStrip final : public QProgressBar {
    Q_OBJECT

  public:
    explicit ProgressStrip(std::shared_ptr<InstallProgress> progress, QWidget *parent = nullptr);

    QString text() const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void timerEvent(QTimerEvent *event) override;
    void changeEvent(QEvent *event) override;

  private:
    void refresh();
    void updateLines();
    void animateIfNeeded();
    bool isIndeterminate() const { return maximum() == 0; }
    QRectF filledPart(const QRectF &track) const;

    std::shared_ptr<InstallProgress> progress;
    QStringList lines;
    QBasicTimer frames;
    QElapsedTimer sinceAnimationStart;
};

}  // namespace ferrolt

#pragma once

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QProgressBar>

#include <memory>

namespace ferrolt {

class InstallProgress;

/// A slim line of text over a slim bar that says how far an installation is. Hidden while none runs.
///
/// Where nobody knows how much is left, a piece of the bar wanders, but only while somebody can see it. Main
/// thread.
class ProgressStrip : public QProgressBar {
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
    void breakText();
    void wanderIfNeeded();
    bool isWandering() const { return maximum() == 0; }
    QRectF filledPart(const QRectF &track) const;

    std::shared_ptr<InstallProgress> progress;
    QStringList lines;
    QBasicTimer frames;
    QElapsedTimer wandering;
};

}  // namespace ferrolt

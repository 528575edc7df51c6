#pragma once

#include <QProxyStyle>

namespace ferrolt {

/// How all controls look where the desktop brings no style of its own: flat and rounded, over Qt's Fusion.
///
/// - Push buttons have a border; flat ones have a surface only under the pointer; default ones
///   (QPushButton::setDefault()) are filled with the accent colour.
/// - A tool button is a row of a list: its label begins at the leading edge, the checked one is highlighted.
/// - Scroll bars have no arrow buttons. A splitter's handle shows nothing.
/// - The keyboard focus is a ring in the accent colour. Line edits with a frame always show it; other
///   widgets only when the keyboard brought the focus there.
/// - Animations ask for SH_Widget_Animation_Duration first, which is 0 where the user wants no motion.
///
/// Main thread.
class LauncherStyle : public QProxyStyle {
    Q_OBJECT

  public:
    enum class Motion { Full, Reduced };

    LauncherStyle();

    /// Holds for the animations that start from now on.
    void setMotion(Motion wanted) { motion = wanted; }

    /// Makes this the application's style, unless the desktop or the user chose a style other than Fusion.
    /// Call once, after the application object was created.
    static void install();

    using QProxyStyle::polish;
    using QProxyStyle::unpolish;
    void polish(QApplication *application) override;
    void unpolish(QApplication *application) override;

    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override;
    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex *option, QPainter *painter,
                            const QWidget *widget) const override;
    QRect subElementRect(SubElement element, const QStyleOption *option,
                         const QWidget *widget) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex *option, SubControl part,
                         const QWidget *widget) const override;
    QSize sizeFromContents(ContentsType type, const QStyleOption *option, const QSize &size,
                           const QWidget *widget) const override;
    int pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const override;
    QIcon standardIcon(StandardPixmap icon, const QStyleOption *option, const QWidget *widget) const override;
    int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                  QStyleHintReturn *returned) const override;

  protected:
    /// Remembers in the window's WA_KeyboardFocusChange whether the keyboard moved the focus last.
    bool eventFilter(QObject *watched, QEvent *event) override;

  private:
    Motion motion = Motion::Full;
};

}  // namespace ferrolt

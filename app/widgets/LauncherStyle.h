#pragma once

#include <QProxyStyle>

namespace ferrolt {

/// The window's own drawing of what it takes from Qt as it comes: scroll bars without arrow buttons, and
/// flat, rounded push buttons, of which a dialog's default one has the accent colour. Everything else is
/// Fusion's.
///
/// Main thread.
class LauncherStyle : public QProxyStyle {
    Q_OBJECT

  public:
    LauncherStyle();

    /// Becomes the application's style, unless the desktop or the user brings one other than Qt's own Fusion.
    /// To be called once, after the application object was created.
    static void install();

    void drawComplexControl(ComplexControl control, const QStyleOptionComplex *option, QPainter *painter,
                            const QWidget *widget) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex *option, SubControl part,
                         const QWidget *widget) const override;
    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override;
    QSize sizeFromContents(ContentsType type, const QStyleOption *option, const QSize &size,
                           const QWidget *widget) const override;
    int pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const override;
};

}  // namespace ferrolt

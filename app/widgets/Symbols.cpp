#include "Symbols.h"

#include "Drawing.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>
#include <QSvgRenderer>
#include <QThread>

#include <algorithm>
#include <utility>

// The linker drops a static library's resource unless this macro is used, which must be outside of
// namespaces.
static void initSymbolResource() {
    Q_INIT_RESOURCE(symbols);
}

namespace ferrolt {
namespace {

QString fileOf(Symbol symbol) {
    switch (symbol) {
        case Symbol::House:
            return QStringLiteral("house.fill");
        case Symbol::Gear:
            return QStringLiteral("gearshape.fill");
        case Symbol::CircleFill:
            return QStringLiteral("circle.fill");
        case Symbol::MinusCircle:
            return QStringLiteral("minus.circle.fill");
        case Symbol::DocOnDoc:
            return QStringLiteral("doc.on.doc");
        case Symbol::Checkmark:
            return QStringLiteral("checkmark");
        case Symbol::Envelope:
            return QStringLiteral("envelope.fill");
        case Symbol::Person:
            return QStringLiteral("person.crop.square.fill");
        case Symbol::Desktop:
            return QStringLiteral("desktopcomputer");
        case Symbol::Paperplane:
            return QStringLiteral("paperplane.fill");
        case Symbol::CheckmarkCircle:
            return QStringLiteral("checkmark.circle.fill");
        case Symbol::InfoCircle:
            return QStringLiteral("info.circle.fill");
        case Symbol::WarningTriangle:
            return QStringLiteral("exclamationmark.triangle.fill");
        case Symbol::ErrorOctagon:
            return QStringLiteral("xmark.octagon.fill");
        case Symbol::XmarkCircle:
            return QStringLiteral("xmark.circle.fill");
        case Symbol::ChevronUp:
            return QStringLiteral("chevron.up");
        case Symbol::ChevronDown:
            return QStringLiteral("chevron.down");
        case Symbol::ArrowDown:
            return QStringLiteral("arrow.down");
        case Symbol::Menu:
            return QStringLiteral("line.3.horizontal");
    }
    return QString();
}

class SymbolIconEngine : public QIconEngine {
  public:
    SymbolIconEngine(Symbol symbol, std::function<QColor(const QPalette &)> colorRole)
        : symbol(symbol), colorRole(std::move(colorRole)) {}

    QIconEngine *clone() const override { return new SymbolIconEngine(symbol, colorRole); }

    QString iconName() override { return fileOf(symbol); }

    void paint(QPainter *painter, const QRect &rectangle, QIcon::Mode mode, QIcon::State) override {
        drawSymbol(*painter, symbol, rectangle, tintFor(mode));
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override {
        return scaledPixmap(size, mode, state, 1.0);
    }

    // Qt 6.4 passes device pixels, and sets the ratio itself.
    QPixmap scaledPixmap(const QSize &size, QIcon::Mode mode, QIcon::State, qreal) override {
        return symbolPixmap(symbol, size, tintFor(mode), 1.0);
    }

  private:
    QColor tintFor(QIcon::Mode mode) const {
        QColor color = colorRole(QGuiApplication::palette());
        if (mode == QIcon::Disabled)
            color.setAlphaF(color.alphaF() * 0.35F);
        return color;
    }

    Symbol symbol;
    std::function<QColor(const QPalette &)> colorRole;
};

/// The program's icon, drawn anew for each size. Offers the sizes that window managers and task bars use.
class ApplicationIconEngine : public QIconEngine {
  public:
    explicit ApplicationIconEngine(const QString &drawing) : drawing(drawing) {}

    QIconEngine *clone() const override { return new ApplicationIconEngine(drawing); }

    void paint(QPainter *painter, const QRect &rectangle, QIcon::Mode, QIcon::State) override {
        if (!renderer.isValid()) {
            initSymbolResource();
            renderer.load(drawing);
        }
        renderer.render(painter, rectangle);
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, pixmap.rect(), mode, state);
        return pixmap;
    }

    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override {
        return {QSize(16, 16), QSize(24, 24), QSize(32, 32), QSize(48, 48), QSize(128, 128)};
    }

  private:
    QString drawing;
    QSvgRenderer renderer;  ///< loaded with the first picture
};

}  // namespace

QPixmap symbolPixmap(Symbol symbol, QSize logicalSize, const QColor &tint, qreal devicePixelRatio) {
    // The cache of pixmaps serves the main thread only.
    Q_ASSERT(QCoreApplication::instance() != nullptr &&
             QThread::currentThread() == QCoreApplication::instance()->thread());
    const QSize pixels = (QSizeF(logicalSize) * devicePixelRatio).toSize();
    if (pixels.isEmpty())
        return QPixmap();
    const QString file = fileOf(symbol);
    const QString key = QStringLiteral("symbol/%1/%2x%3@%4/%5")
                            .arg(file)
                            .arg(pixels.width())
                            .arg(pixels.height())
                            .arg(devicePixelRatio)
                            .arg(tint.rgba(), 8, 16);
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap))
        return pixmap;

    initSymbolResource();
    QSvgRenderer renderer(QStringLiteral(":/symbols/") + file + QStringLiteral(".svg"));
    pixmap = QPixmap(pixels);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    // The drawings are square: the largest square of whole device pixels, centred on whole device pixels.
    const int side = std::min(pixels.width(), pixels.height());
    renderer.render(&painter,
                    QRectF(QRect((pixels.width() - side) / 2, (pixels.height() - side) / 2, side, side)));
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(pixmap.rect(), tint);
    painter.end();
    pixmap.setDevicePixelRatio(devicePixelRatio);
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

void drawSymbol(QPainter &painter, Symbol symbol, const QRectF &rectangle, const QColor &tint) {
    const QRectF target = Drawing::snapped(painter, rectangle);
    const QSize pixels = painter.deviceTransform().mapRect(target).size().toSize();
    const QPixmap pixmap = symbolPixmap(symbol, pixels, tint, 1.0);
    painter.drawPixmap(target, pixmap, QRectF(pixmap.rect()));
}

QIcon applicationIcon() {
    return QIcon(new ApplicationIconEngine(QStringLiteral(":/symbols/ferrolt-miner-launcher.svg")));
}

QIcon stoppedApplicationIcon() {
    return QIcon(new ApplicationIconEngine(QStringLiteral(":/symbols/ferrolt-miner-launcher-stopped.svg")));
}

QIcon symbolIcon(Symbol symbol, std::function<QColor(const QPalette &)> colorRole) {
    return QIcon(new SymbolIconEngine(symbol, std::move(colorRole)));
}

}  // namespace ferrolt

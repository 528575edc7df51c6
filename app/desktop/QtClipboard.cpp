#include "QtClipboard.h"

#include "MainQueue.h"
#include "Utf16.h"

#include <QByteArrayList>
#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

#include <utility>

namespace ferrolt {
namespace {

/// Joins the pieces only when a program pastes. Offers two formats: "text/plain", from which Qt makes the
/// platform's plain text formats, and UTF-8, which needs no conversion through UTF-16.
class TextInPieces : public QMimeData {
  public:
    explicit TextInPieces(std::vector<QByteArray> given) : pieces(std::move(given)) {}

    QStringList formats() const override { return {plainText(), utf8Text()}; }
    bool hasFormat(const QString &mimeType) const override { return formats().contains(mimeType); }

  protected:
    QVariant retrieveData(const QString &mimeType, QMetaType type) const override {
        if (!hasFormat(mimeType))
            return QVariant();
        if (type.id() == QMetaType::QString)
            return utf16Of(joined());
        return joined();
    }

  private:
    static QString plainText() { return QStringLiteral("text/plain"); }
    static QString utf8Text() { return QStringLiteral("text/plain;charset=utf-8"); }

    QByteArray joined() const { return QByteArrayList(pieces.begin(), pieces.end()).join(); }

    std::vector<QByteArray> pieces;
};

}  // namespace

void QtClipboard::clearContents() {
    assertMainThread();
    QGuiApplication::clipboard()->clear();
}

void QtClipboard::setText(std::vector<QByteArray> pieces) {
    assertMainThread();
    QGuiApplication::clipboard()->setMimeData(new TextInPieces(std::move(pieces)));
}

void QtClipboard::offerSelection(std::vector<QByteArray> pieces) {
    assertMainThread();
    QClipboard *clipboard = QGuiApplication::clipboard();
    if (clipboard->supportsSelection())
        clipboard->setMimeData(new TextInPieces(std::move(pieces)), QClipboard::Selection);
}

QString QtClipboard::findText() const {
    assertMainThread();
    const QClipboard *clipboard = QGuiApplication::clipboard();
    return clipboard->supportsFindBuffer() ? clipboard->text(QClipboard::FindBuffer) : ownFindText;
}

void QtClipboard::setFindText(const QString &text) {
    assertMainThread();
    QClipboard *clipboard = QGuiApplication::clipboard();
    if (clipboard->supportsFindBuffer())
        clipboard->setText(text, QClipboard::FindBuffer);
    else
        ownFindText = text;
}

}  // namespace ferrolt

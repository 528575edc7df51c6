#pragma once

#include <QClipboard>
#include <QLineEdit>

namespace ferrolt {

/// A single-line text field with a rounded border. Takes any text: of what is pasted, dropped or set, a line
/// break becomes a space (none at either end) and a NUL goes, since no line of text can hold them; everything
/// else is kept as it is. Enter does nothing here.
///
/// A clipboard that has nothing to give, because the program that copied has ended or does not answer, pastes
/// nothing and leaves what is selected.
class TextField : public QLineEdit {
    Q_OBJECT

  public:
    /// Far more than anybody types, few enough for the field to answer in a moment. A text that is longer is
    /// cut, and the user told so.
    static constexpr int longestText = 1 << 21;

    /// Screen readers know the field by its placeholder.
    explicit TextField(const QString &placeholder, QWidget *parent = nullptr);

    /// In logical pixels, for a field in a font of this size.
    static int heightFor(const QFontMetrics &metrics);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  protected:
    void paintEvent(QPaintEvent *event) override;
    void initStyleOption(QStyleOptionFrame *option) const override;
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

  private:
    void pasteFrom(QClipboard::Mode mode);
    void beginUndoStep();
    void tellThatTextWasCut();
};

}  // namespace ferrolt

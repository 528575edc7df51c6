#pragma once

#include <QClipboard>
#include <QLineEdit>

namespace ferrolt {

/// A line edit for text that may be pasted from anywhere. In pasted, dropped and set text, a line break
/// becomes a space (or nothing, at either end) and a NUL is removed; everything else is kept. Enter does
/// nothing here.
///
/// Pasting from an empty clipboard, or from a program that has ended or does not answer, keeps the selected
/// text. Main thread.
class TextField : public QLineEdit {
    Q_OBJECT

  public:
    /// In UTF-16 units. The field still responds at once with this much text. Longer text is cut, and a tool
    /// tip says so.
    static constexpr int maxTextLength = 1 << 21;

    /// The placeholder is also the field's accessible name.
    explicit TextField(const QString &placeholder, QWidget *parent = nullptr);

  protected:
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

  private:
    void pasteFrom(QClipboard::Mode mode);
    void beginUndoStep();
    void showThatTextWasCut();
};

}  // namespace ferrolt

#pragma once

#include <QWidget>

class QPushButton;

namespace ferrolt {

class Announcement;
class TextField;

/// The row of controls above a log for searching it. Emits what the user wants; the search is done elsewhere.
/// Main thread.
class FindBar : public QWidget {
    Q_OBJECT

  public:
    explicit FindBar(QWidget *parent = nullptr);

    /// In UTF-16 units. Longer text is cut.
    static constexpr int maxTextLength = 1000;

    QString text() const;
    /// Does not emit textChanged().
    void setText(const QString &text);
    /// Whether the focus is in the bar.
    bool hasKeyboard() const;
    /// Gives the field the focus and selects its text.
    void focusField();
    /// Shows the search's result, such as "1 of 3".
    void setResult(const QString &words);
    /// Makes screen readers say the result, while the focus stays in the field.
    void speakResult();

  Q_SIGNALS:
    void textChanged(const QString &text);
    void nextWanted();
    void previousWanted();
    void closeWanted();

  protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

  private:
    QPushButton *addButton(void (FindBar::*pressed)());

    TextField *const field;
    Announcement *const result;
};

}  // namespace ferrolt

#pragma once

#include <QWidget>

namespace ferrolt {

class Announcement;
class FlatButton;
class TextField;

/// The row of controls above a log with which a text is looked for. Only asks; what is found is shown
/// elsewhere.
class FindBar : public QWidget {
    Q_OBJECT

  public:
    explicit FindBar(QWidget *parent = nullptr);

    QString text() const;
    /// Puts the cursor into the field, everything in it selected.
    void focusField();
    /// What came of the search, in words.
    void setResult(const QString &words);
    /// Has screen readers say it: the keyboard stays in the field.
    void speakResult();

  Q_SIGNALS:
    void textChanged(const QString &text);
    void nextWanted();
    void previousWanted();
    void closeWanted();

  protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;

  private:
    TextField *const field;
    Announcement *const result;
    FlatButton *const previous;
    FlatButton *const next;
};

}  // namespace ferrolt

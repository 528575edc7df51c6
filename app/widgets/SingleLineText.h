#pragma once

#include <QValidator>

namespace ferrolt {

/// Turns whatever is put into a text field into one line, and accepts it.
class SingleLineText : public QValidator {
    Q_OBJECT

  public:
    using QValidator::QValidator;

    /// Replaces a line break (CR LF counts as one) within `text` by a space and drops those at either end, as
    /// well as every NUL. `cursor` stays before the character that it was before.
    static void makeSingleLine(QString &text, int &cursor);

    State validate(QString &text, int &cursor) const override;
};

}  // namespace ferrolt

#pragma once

#include <QValidator>

namespace ferrolt {

/// A validator that turns any text into a single line and accepts it.
class SingleLineText : public QValidator {
    Q_OBJECT

  public:
    using QValidator::QValidator;

    /// Replaces each line break (CR LF is one) in `text` by a space, and removes line breaks at either end
    /// and NULs. `cursor` stays before the same character.
    static void makeSingleLine(QString &text, int &cursor);

    State validate(QString &text, int &cursor) const override;
};

}  // namespace ferrolt

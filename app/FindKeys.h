#pragma once

#include <QKeySequence>
#include <QList>

namespace ferrolt {

/// The keys with which a log is searched, for QShortcut::setKeys().
struct FindKeys {
    static QList<QKeySequence> open() { return QKeySequence::keyBindings(QKeySequence::Find); }
    // Qt 6.4 with its GTK platform theme knows Ctrl+G alone. The desktop's other programs have F3, too.
    static QList<QKeySequence> next() { return with(QKeySequence::FindNext, Qt::Key_F3); }
    static QList<QKeySequence> previous() { return with(QKeySequence::FindPrevious, Qt::SHIFT | Qt::Key_F3); }

  private:
    static QList<QKeySequence> with(QKeySequence::StandardKey standard, QKeySequence key) {
        QList<QKeySequence> keys = QKeySequence::keyBindings(standard);
        if (!keys.contains(key))
            keys.append(key);
        return keys;
    }
};

}  // namespace ferrolt

#pragma once

#include "AboutDetails.h"
#include "Clipboard.h"

#include <QDialog>

#include <memory>

class QGridLayout;
class QPushButton;

namespace ferrolt {

/// What this program is, which version of it runs, and where its files are. All of it can be selected, and
/// copied as plain text at once. Deletes itself when it is closed. Main thread.
class AboutDialog : public QDialog {
    Q_OBJECT

  public:
    AboutDialog(std::shared_ptr<Clipboard> clipboard, QWidget *parent);

  private:
    void addRow(QGridLayout &grid, const AboutDetail &detail);
    void copyDetails();

    const std::shared_ptr<Clipboard> clipboard;
    const QList<AboutDetail> details;
    QPushButton *copyButton;
};

}  // namespace ferrolt

#pragma once

#include <QList>
#include <QString>

namespace ferrolt {

/// A fact about the running program, for its user and for those whom they ask for help.
struct AboutDetail {
    QString label;
    QString value;
};

/// Version, build, Qt, and where the program keeps its files. Main thread.
QList<AboutDetail> aboutDetails();

/// All of them, below the program's name, in a line each.
QString plainText(const QList<AboutDetail> &details);

}  // namespace ferrolt

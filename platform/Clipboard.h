#pragma once

#include <QString>

namespace ferrolt {

/// The system's general clipboard. Main thread.
class Clipboard {
  public:
    virtual ~Clipboard() = default;
    virtual void clearContents() = 0;
    virtual void setString(const QString &text) = 0;
};

}  // namespace ferrolt

#pragma once

#include "ThemedLabel.h"

namespace ferrolt {

/// A text that comes up by itself, in answer to something that was done elsewhere: what has the keyboard is
/// another thing, and a screen reader would say nothing of it.
class Announcement : public ThemedLabel {
    Q_OBJECT

  public:
    using ThemedLabel::ThemedLabel;

    /// Has screen readers say it now. Main thread.
    void speak();
};

}  // namespace ferrolt

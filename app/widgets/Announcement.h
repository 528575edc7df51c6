#pragma once

#include "ThemedLabel.h"

namespace ferrolt {

/// A text that appears while the focus is elsewhere, where a screen reader would not notice it.
class Announcement : public ThemedLabel {
    Q_OBJECT

  public:
    using ThemedLabel::ThemedLabel;

    /// Makes screen readers say the text now, if it is visible. Main thread.
    void speak();
};

}  // namespace ferrolt
